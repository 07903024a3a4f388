"""The interpreter lock is released while the library partitions."""

import sys
import threading
import time

import numpy as np

import hypra
from conftest import random_hypergraph


def test_another_thread_runs_during_a_partition():
    h = random_hypergraph(30000, 36000, seed=3)
    count = 0
    stop = threading.Event()

    def counter():
        nonlocal count
        while not stop.is_set():
            count += 1

    old = sys.getswitchinterval()
    sys.setswitchinterval(0.001)
    thread = threading.Thread(target=counter)
    thread.start()
    try:
        # The counter's pace while the main thread only sleeps.
        before = count
        time.sleep(0.2)
        pace = (count - before) / 0.2
        before = count
        start = time.perf_counter()
        hypra.partition(h, 4, seed=1, threads=1)
        elapsed = time.perf_counter() - start
        during = count - before
    finally:
        stop.set()
        thread.join()
        sys.setswitchinterval(old)
    # Holding the lock through the library call would have stopped the counter for nearly all of
    # the call; released, it keeps a good share of its pace (the machine may be busy).
    assert elapsed > 0.2, "the partition was too quick to tell"
    print(f"counter: {during} during {elapsed:.2f} s, pace {pace:.0f}/s")
    assert during > 0.2 * pace * elapsed, (during, pace, elapsed)


def test_two_threads_partition_at_once(medium):
    expected = {k: hypra.partition(medium, k, seed=6).parts for k in (3, 4)}
    results = {}
    errors = []

    def work(k):
        try:
            results[k] = hypra.partition(medium, k, seed=6).parts
        except Exception as e:  # reported below, on the main thread
            errors.append(e)

    threads = [threading.Thread(target=work, args=(k,)) for k in (3, 4)]
    for t in threads:
        t.start()
    for t in threads:
        t.join(timeout=300)
    assert not errors
    assert not any(t.is_alive() for t in threads)
    for k in (3, 4):
        assert np.array_equal(results[k], expected[k])


def test_errors_on_threads_keep_their_own_message():
    # Each thread reads the message of its own failed call.
    failing = {
        "vertex": hypra.Hypergraph([[0, 1], [1, 2]], vertex_weights=[2**30, 2**30, 1]),
        "hyperedge": hypra.Hypergraph([[0, 1], [1, 2]], hyperedge_weights=[2**30, 2**30]),
    }
    messages = {}

    def fail(name):
        for _ in range(50):
            try:
                hypra.partition(failing[name], 2, seed=1)
            except hypra.InputError as e:
                messages.setdefault(name, set()).add(str(e))

    threads = [threading.Thread(target=fail, args=(name,)) for name in failing]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert len(messages["vertex"]) == 1 and "vertex weights" in messages["vertex"].pop()
    assert len(messages["hyperedge"]) == 1 and "hyperedge weights" in messages["hyperedge"].pop()
