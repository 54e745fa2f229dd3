"""scripts/screenshots without its packages and its build: leads the program into every state and page. See
scripts/screenshots --help."""
import argparse
import pathlib
import signal
import sys
import tempfile

from album import Album
from story import STORIES
from world import World, WorldError

STATUS_FAILED, STATUS_INTERRUPTED = 1, 130


def arguments_of(words):
    parser = argparse.ArgumentParser(prog="screenshots", add_help=False)
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--logs", type=pathlib.Path, required=True)
    parser.add_argument("--output", type=pathlib.Path, required=True)
    parser.add_argument("--scale", type=int, choices=(1, 2), default=2)
    return parser.parse_args(words)


def take_pictures(asked, drafts):
    asked.logs.mkdir(parents=True, exist_ok=True)
    album = Album(drafts, asked.output)
    world = World(asked.build.resolve(), asked.logs / "lab.log", asked.scale)
    try:
        program = str(asked.build.resolve() / "src/app/zolvex")
        for story in STORIES:
            print(f"    {story.__doc__}", flush=True)
            story(world, album, program, asked.logs.resolve())
    finally:
        world.end()
    album.finish()
    print(f"    {album.summary()}")


def main():
    asked = arguments_of(sys.argv[1:])
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    try:
        with tempfile.TemporaryDirectory(prefix="zolvex-pictures-") as drafts:
            take_pictures(asked, pathlib.Path(drafts))
    except WorldError as error:
        print(f"screenshots: {error}\nscreenshots: the logs are in {asked.logs}", file=sys.stderr)
        return STATUS_FAILED
    except KeyboardInterrupt:
        return STATUS_INTERRUPTED
    return 0


if __name__ == "__main__":
    sys.exit(main())
