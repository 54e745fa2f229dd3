"""The pictures: drafts as they were taken, and what becomes of them in docs/images."""
import subprocess

CONVERT_LIMIT = 60  # seconds

MAIN_WINDOW = "Zolvex"

SCHEMES = {"light": False, "dark": True}
CAPTION = {"light": ("#1d2125", "#ffffff"), "dark": ("#e6e9ec", "#17191c")}  # ink and paper

# Windows have few colours; this many also keep the edges of letters smooth.
COLOURS = 128


def convert(*arguments):
    subprocess.run(["convert", *map(str, arguments)], check=True, timeout=CONVERT_LIMIT)


class Album:
    """Takes every picture in light and in dark. Nothing in the output directory changes before finish()."""

    def __init__(self, drafts, output):
        self._drafts, self._output = drafts, output
        self._strips = {}
        self._names = []

    def take(self, computer, name, title=MAIN_WINDOW, schemes=tuple(SCHEMES)):
        """The window of this title."""
        for scheme in schemes:
            computer.scheme(SCHEMES[scheme])
            computer.picture(self._draft(name, scheme), title)
            self._names.append((name, scheme))
        computer.scheme(False)

    def take_menu(self, computer, name):
        """The menu of a panel that shows one. The panel has looks of its own."""
        computer.picture_of_menu(self._draft(name, "light"))
        self._names.append((name, "light"))

    def take_for_strip(self, moment, computers, scheme):
        """The popovers of all of them at one moment, with the panels, to be put beside each other."""
        for computer in computers:
            computer.scheme(SCHEMES[scheme])
        for computer in computers:
            file = self._draft(f"strip-{moment}-{computer.name}", scheme)
            computer.picture_with_panel(file)
            self._strips.setdefault(scheme, []).append((moment, computer.name, file))

    def _draft(self, name, scheme):
        return str(self._drafts / f"{name}-{scheme}.ppm")

    def finish(self):
        self._output.mkdir(parents=True, exist_ok=True)
        for name, scheme in self._names:
            self._write(name, scheme, self._draft(name, scheme))
        for scheme, parts in self._strips.items():
            self._compose(scheme, parts)

    def _write(self, name, scheme, *source):
        convert(*source, "-strip", "-dither", "None", "-colors", COLOURS, "-define", "png:compression-level=9",
                "-define", "png:exclude-chunks=all", "-define", "png:include-chunk=PLTE,tRNS",
                f"PNG8:{self._output / f'{name}-{scheme}.png'}")

    def _compose(self, scheme, parts):
        """A row for each computer, a column for each moment."""
        ink, paper = CAPTION[scheme]
        moments = list(dict.fromkeys(moment for moment, _, _ in parts))
        rows = []
        for computer in dict.fromkeys(name for _, name, _ in parts):
            row = ["(", "-background", paper]
            for moment in moments:
                file = next(file for when, who, file in parts if (when, who) == (moment, computer))
                row += ["(", file, "(", "-font", "Inter-Medium", "-pointsize", "26", "-fill", ink,
                        f"label:{computer}, {moment}", ")", "+swap", "-gravity", "West", "-append", "-bordercolor", paper,
                        "-border", "16", ")"]
            rows += [*row, "-gravity", "North", "+append", ")"]
        self._write("switch", scheme, "-background", paper, *rows, "-append")

    def summary(self):
        files = sorted(self._output.glob("*.png"))
        size = sum(file.stat().st_size for file in files)
        return f"{len(files)} pictures, {size / 1024:.0f} KiB, are in {self._output}."
