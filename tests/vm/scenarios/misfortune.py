"""The daemon stops, dies, hangs or starts anew in the middle of things; the worker is killed in the middle of things."""
import signal

from bluez import DEVICE, device_path
from busmonitor import CallMonitor
from pump import pause, wait_until
from world import RunningWorker

BEGIN_LIMIT = 15.0
REMOVALS = 5


def begin_connecting(world, behaviour):
    """A worker that is in the middle of Pair or of Connect."""
    world.keyboard.behave(behaviour)
    call = {"hangs-on-pair": "Pair", "hangs-on-connect": "Connect"}[behaviour]
    monitor = CallMonitor(call, lambda: None)
    worker = RunningWorker("connect", world.keyboard.address)
    begun = wait_until(lambda: monitor.was_called and world.keyboard.state()["host"], BEGIN_LIMIT)
    monitor.close()
    assert begun, f"no {call} within {BEGIN_LIMIT} s"
    pause(0.5)
    return worker


def expect_recovery(world, worker):
    """The same worker finds the daemon again and finishes."""
    run = worker.finish()
    assert run.status == 0 and "Attempt 1" in run.output, run
    assert world.keyboard.state()["serves"], "the keyboard serves nobody"


def expect_next_run_works(world):
    world.keyboard.behave("normal")
    run = world.worker("connect", world.keyboard.address)
    assert run.status == 0, run
    assert world.keyboard.state()["serves"], "the keyboard serves nobody"


def test_without_the_daemon_bluetooth_is_off(world):
    world.daemon.stop()
    for command in ("connect", "unregister"):
        run = world.worker(command, world.keyboard.address)
        assert (run.status, run.error) == (69, "Bluetooth is off\n"), run
    run = world.worker("listPaired")
    assert (run.status, run.output) == (0, "[]"), run


def test_daemon_restarts_in_the_middle_of_pair(world):
    worker = begin_connecting(world, "hangs-on-pair")
    world.daemon.stop()
    world.keyboard.behave("normal")
    world.daemon.start()
    expect_recovery(world, worker)


def test_daemon_crashes_in_the_middle_of_pair(world):
    worker = begin_connecting(world, "hangs-on-pair")
    world.daemon.kill()
    world.keyboard.behave("normal")
    world.daemon.start()
    expect_recovery(world, worker)


def test_daemon_restarts_in_the_middle_of_connect(world):
    worker = begin_connecting(world, "hangs-on-connect")
    world.daemon.stop()
    world.keyboard.behave("normal")
    world.daemon.start()
    expect_recovery(world, worker)


def test_daemon_crashes_in_the_middle_of_connect(world):
    worker = begin_connecting(world, "hangs-on-connect")
    world.daemon.kill()
    world.keyboard.behave("normal")
    world.daemon.start()
    expect_recovery(world, worker)


def remove_while(world, misfortune):
    world.pair_and_connect()
    monitor = CallMonitor("RemoveDevice", misfortune)
    run = world.worker("unregister", world.keyboard.address)
    monitor.close()
    assert monitor.was_called, f"RemoveDevice was not called: {run}"
    return run


def expect_true_report(world, run):
    """Whatever the worker says of a removal, it must be true, and the next run must finish the job."""
    world.await_power(world.adapters[0])
    is_known = device_path(world.adapter, world.keyboard.address) in world.bluez.devices()
    expected = (0, "Removed pairing\n", "") if run.status == 0 else (70, "", "Remove selector unavailable\n")
    assert (run.status, run.output, run.error) == expected, run
    assert not (run.status == 0 and is_known), "a removal was claimed that did not happen"
    again = world.worker("unregister", world.keyboard.address)
    assert again.status == (0 if is_known else 66), again
    assert world.device() is None


def test_daemon_crashes_in_the_middle_of_remove(world):
    run = remove_while(world, world.daemon.kill)
    assert not world.daemon.is_running()
    world.daemon.start()
    expect_true_report(world, run)


def test_daemon_restarts_in_the_middle_of_remove(world):
    def restart():
        world.daemon.stop()
        world.daemon.start()

    expect_true_report(world, remove_while(world, restart))


def test_worker_killed_in_the_middle_of_pair(world):
    begin_connecting(world, "hangs-on-pair").kill()
    expect_next_run_works(world)


def test_worker_killed_in_the_middle_of_connect(world):
    begin_connecting(world, "hangs-on-connect").kill()
    expect_next_run_works(world)


def worker_dies_removing(world):
    """False when it was quicker than whoever kills it."""
    world.pair_and_connect()
    worker = None
    monitor = CallMonitor("RemoveDevice", lambda: worker.kill())
    worker = RunningWorker("unregister", world.keyboard.address)
    assert wait_until(lambda: monitor.was_called, BEGIN_LIMIT), "RemoveDevice was not called"
    monitor.close()
    return worker.process.returncode == -signal.SIGKILL


def test_worker_killed_in_the_middle_of_remove(world):
    assert any(worker_dies_removing(world) for _ in range(REMOVALS)), "no worker could be killed in time"
    again = world.worker("unregister", world.keyboard.address)
    assert again.status in (0, 66), again
    expect_next_run_works(world)


def test_a_connection_of_another_program_is_waited_for(world):
    world.pair_and_connect()
    path = device_path(world.adapter, world.keyboard.address)
    answer = world.bluez.call(path, DEVICE, "Disconnect")
    assert not answer.error, f"Disconnect: {answer}"
    world.keyboard.behave("hangs-on-connect")
    other = world.bluez.begin(path, DEVICE, "Connect")
    assert wait_until(lambda: world.keyboard.state()["host"], BEGIN_LIMIT), "no link"
    monitor = CallMonitor("Connect", lambda: None)
    worker = RunningWorker("connect", world.keyboard.address)
    assert wait_until(lambda: monitor.was_called, BEGIN_LIMIT), "the worker does not call Connect"
    monitor.close()
    pause(1.0)
    world.keyboard.behave("normal")
    run = worker.finish()
    assert (run.status, run.output) == (0, "Not in range yet\nAttempt 1: openConnection=0, connected=true\n"), run
    assert not other.wait().error, "the other program's Connect failed"


def test_a_daemon_that_hangs_counts_as_off(world):
    world.pair_and_connect()
    world.daemon.signal(signal.SIGSTOP)
    try:
        run = world.worker("unregister", world.keyboard.address)
    finally:
        world.daemon.signal(signal.SIGCONT)
    assert (run.status, run.error) == (69, "Bluetooth is off\n") and run.seconds < 12, run
    assert world.worker("unregister", world.keyboard.address).status == 0
