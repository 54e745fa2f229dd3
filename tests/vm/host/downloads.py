"""Fetches packages and sources of Debian 12 with an apt configuration of its own: the machine's stays as it is."""
import os
import pathlib
import re
import subprocess

SUITE = "bookworm"
FALLBACK_MIRROR = "http://deb.debian.org/debian"
KEYRING = "/usr/share/keyrings/debian-archive-keyring.gpg"


class DownloadError(Exception):
    pass


class Apt:
    """apt-get in a directory of its own, for the mirrors that this machine uses."""

    def __init__(self, directory):
        self._directory = pathlib.Path(directory)
        self._has_lists = False

    def package(self, name, destination):
        """The path of the downloaded .deb."""
        return self._fetch(["download", name], destination, "*.deb")

    def source(self, name, destination):
        """The path of the upstream archive of a source package."""
        return self._fetch(["source", "--download-only", name], destination, "*.orig.tar.*")

    def _fetch(self, arguments, destination, pattern):
        self._update()
        destination.mkdir(parents=True, exist_ok=True)
        self._run(arguments, destination)
        found = [path for path in destination.glob(pattern) if not path.name.endswith(".asc")]
        if not found:
            raise DownloadError(f"apt-get {' '.join(arguments)} brought nothing")
        return found[0]

    def _update(self):
        if self._has_lists:
            return
        (self._directory / "lists/partial").mkdir(parents=True, exist_ok=True)
        (self._directory / "vm.sources").write_text("\n".join(self._stanzas()))
        self._run(["update"], self._directory)
        self._has_lists = True

    def _run(self, arguments, directory):
        options = {
            "Dir::Etc::sourcelist": self._directory / "vm.sources",
            "Dir::Etc::sourceparts": "/dev/null",
            "Dir::State::lists": self._directory / "lists",
            "Dir::Cache": self._directory,
            "APT::Sandbox::User": "root" if os.geteuid() == 0 else "",
        }
        command = ["apt-get", "-q"] + [f"-o{key}={value}" for key, value in options.items() if value]
        done = subprocess.run(command + arguments, cwd=directory, capture_output=True, text=True)
        if done.returncode:
            lines = (done.stderr.strip() or done.stdout.strip()).splitlines()
            raise DownloadError(f"apt-get {' '.join(arguments)}: {lines[-1] if lines else 'failed'}")

    def _stanzas(self):
        for mirror, suite in self._mirrors():
            yield f"Types: deb deb-src\nURIs: {mirror}\nSuites: {suite}\nComponents: main\nSigned-By: {KEYRING}\n"

    def _mirrors(self):
        """Where this machine gets this suite from; a machine of another suite gets it from the usual place."""
        targets = subprocess.run(
            ["apt-get", "indextargets", "--format", "$(REPO_URI) $(RELEASE) $(COMPONENT)", "Created-By: Packages"],
            capture_output=True,
            text=True,
        ).stdout
        found = re.findall(rf"^(\S+) ({SUITE}(?:-security)?) main$", targets, re.MULTILINE)
        return sorted(set(found)) or [(FALLBACK_MIRROR, SUITE)]
