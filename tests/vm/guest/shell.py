"""A prompt in a machine whose Bluetooth runs and in whose reach a keyboard is."""
import os
import subprocess

from world import World

world = World()
world.reset()
print(f"bluetoothd runs; the keyboard is {world.keyboard.address}. \"exit\" ends the machine.")
subprocess.run(["stty", "echo", "onlcr", "sane"], check=False)
subprocess.run(["setsid", "--ctty", "--wait", "bash", "--norc", "-i"], check=False, env={**os.environ, "PS1": "vm# "})
world.daemon.stop()
