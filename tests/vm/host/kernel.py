"""The machines' kernel, and the small file system that it starts from."""
import lzma
import pathlib
import shutil
import subprocess

from cache import TESTS, directory, fingerprint, is_made_from, note_made_from

# The first one is known to be good. A mirror drops old kernels one day, and not every kernel can do all that is needed
# here: some stall Bluetooth LE, some stop with a BUG. So each has to pass the self-check before it is used.
CANDIDATES = [
    "linux-image-6.1.0-50-amd64",
    "linux-image-6.1.0-49-amd64",
    "linux-image-6.1.0-48-amd64",
    "linux-image-6.1.0-47-amd64",
    "linux-image-amd64",
    "linux-image-6.12-amd64",
]

# In the order of loading. Without the crypto modules an adapter cannot be reset.
MODULES = """
    virtio_pci 9pnet_virtio 9p overlay virtio_console virtio_net
    algif_hash algif_skcipher ecb cmac bluetooth hci_vhci rfcomm bnep hidp uhid hid-generic uinput evdev
""".split()

XZ_MAGIC, ELF_MAGIC = b"\xfd7zXZ\0", b"\x7fELF"


class Kernel:
    def __init__(self, package):
        self.package = package
        self._directory = directory() / package

    @property
    def image(self):
        return self._directory / "kernel"

    @property
    def initramfs(self):
        return self._directory / "initramfs"

    def make(self, apt):
        """Downloads what is missing; raises DownloadError when the mirror has it no more."""
        mark = fingerprint(TESTS / "guest/init", "unpacked", *MODULES)
        if is_made_from(self.initramfs, mark):
            return
        work = directory() / "kernel-work"
        shutil.rmtree(work, ignore_errors=True)
        archive = self._archive(apt, work)
        shutil.rmtree(self._directory, ignore_errors=True)
        self._directory.mkdir()
        subprocess.run(["dpkg-deb", "-x", archive, work / "root"], check=True)
        self.image.write_bytes(unpacked(next((work / "root/boot").glob("vmlinuz-*")).read_bytes()))
        pack_initramfs(work / "root", work / "initramfs", self.initramfs)
        shutil.rmtree(work)
        note_made_from(self.initramfs, mark)

    def _archive(self, apt, work):
        """The newest kernel packages are empty ones that depend on the real one."""
        archive = apt.package(self.package, work)
        depends = subprocess.run(["dpkg-deb", "-f", archive, "Depends"], capture_output=True, text=True).stdout
        first = depends.split()[0] if depends else ""
        if self.package != first and first.startswith("linux-image-"):
            archive = apt.package(first, work / "real")
        return archive

    def is_checked(self, mark):
        return is_made_from(self._directory / "checked", mark)

    def note_checked(self, mark):
        (self._directory / "checked").touch()
        note_made_from(self._directory / "checked", mark)


def unpacked(image):
    """The kernel inside, when it is packed by xz: an emulated machine takes longer to unpack it than for all the rest of
    its start. Otherwise as it is, for QEMU starts both."""
    begin = image.find(XZ_MAGIC)
    while begin >= 0:
        try:
            kernel = lzma.LZMADecompressor().decompress(image[begin:])
            if kernel.startswith(ELF_MAGIC):
                return kernel
        except lzma.LZMAError:
            pass
        begin = image.find(XZ_MAGIC, begin + 1)
    return image


def pack_initramfs(root, stage, target):
    (stage / "modules").mkdir(parents=True)
    for folder in ("bin", "proc", "sys", "dev", "lower", "upper", "root"):
        (stage / folder).mkdir()
    shutil.copy("/bin/busybox", stage / "bin/busybox")
    shutil.copy(TESTS / "guest/init", stage / "init")
    (stage / "init").chmod(0o755)
    names = [copy_module(path, stage / "modules") for path in modules_in_order(root)]
    (stage / "modules/order").write_text("\n".join(names) + "\n")
    files = subprocess.run(["find", "."], cwd=stage, capture_output=True, check=True).stdout
    with target.open("wb") as output:
        subprocess.run(["cpio", "--quiet", "-o", "-H", "newc"], cwd=stage, input=files, stdout=output, check=True)


def modules_in_order(root):
    """The wanted modules' files, each after those that it needs."""
    base = next((root / "lib/modules").iterdir())
    subprocess.run(["depmod", "-b", root, base.name], check=True, capture_output=True)
    needs = {}
    for line in (base / "modules.dep").read_text().splitlines():
        file, _, others = line.partition(":")
        needs[module_name(file)] = (file, [module_name(other) for other in reversed(others.split())])
    ordered = []

    def add(name):
        if name in needs and needs[name][0] not in ordered:
            file, others = needs[name]
            for other in others:
                add(other)
            ordered.append(file)

    for wanted in MODULES:
        add(wanted.replace("-", "_"))
    return [base / file for file in ordered]


def module_name(file):
    return pathlib.Path(file).name.split(".ko")[0].replace("-", "_")


def copy_module(path, folder):
    name = module_name(path) + ".ko"
    content = path.read_bytes()
    (folder / name).write_bytes(lzma.decompress(content) if path.suffix == ".xz" else content)
    return name
