"""Runs what need not wait for each other side by side."""
import os
from concurrent.futures import ThreadPoolExecutor, as_completed

import processes
from accelerator import accelerator
from counts import Counts


def lane_count():
    """Most of the time the machines wait. Emulated ones need a processor each when they do not."""
    processors = os.cpu_count() or 1
    return 2 * processors if accelerator() == "kvm" else processors + 1


def run_in_lanes(jobs):
    """Runs the jobs, the first ones first. Each returns its Counts; the sum of these."""
    counts = Counts()
    lanes = ThreadPoolExecutor(lane_count())
    try:
        for future in as_completed([lanes.submit(job) for job in jobs]):
            counts = counts.plus(future.result())
    except BaseException:
        processes.close()
        raise
    finally:
        lanes.shutdown(cancel_futures=True)
    return counts
