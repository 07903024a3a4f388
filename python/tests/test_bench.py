"""The package computes the same partition as hypra-advanced on a benchmark netlist."""

import os
import subprocess

import numpy as np
import pytest

import hypra


def bench_file(name):
    folder = os.environ.get("HYPRA_BENCH_DIR")
    if not folder:
        pytest.skip("HYPRA_BENCH_DIR is not set (the folder of the ibm*.hgr benchmark files)")
    path = os.path.join(folder, name)
    if not os.path.isfile(path):
        pytest.skip(f"{path} is absent (set HYPRA_BENCH_DIR to the folder of ibm*.hgr)")
    return path


def program():
    path = os.environ.get("HYPRA_ADVANCED")
    if not path or not os.access(path, os.X_OK):
        pytest.skip("HYPRA_ADVANCED does not name the hypra-advanced program")
    return path


@pytest.mark.parametrize("method", ["recursive", "direct"])
def test_ibm01_matches_the_program(tmp_path, method):
    graph = bench_file("ibm01.hgr")
    advanced = program()
    out = tmp_path / "ibm01.part"
    command = [advanced, graph, "4", "--imbalance", "0.03", "--seed", "1", "--threads", "1",
               "--out", str(out)]
    if method == "direct":
        command.append("--kway")
    subprocess.run(command, check=True, capture_output=True, timeout=600)
    expected = np.loadtxt(out, dtype=np.int32)

    h = hypra.read(graph)
    assert (h.num_vertices, h.num_hyperedges) == (12752, 14111)
    result = hypra.partition(h, 4, imbalance=0.03, seed=1, threads=1, method=method)
    assert np.array_equal(result.parts, expected)
    assert result.imbalance <= 0.03


# Four parts: the preset's three attempts.
@pytest.mark.parametrize("k", [4, 8])
def test_ibm01_quality_preset_matches_the_program(tmp_path, k):
    graph = bench_file("ibm01.hgr")
    advanced = program()
    out = tmp_path / "ibm01.part"
    subprocess.run([advanced, graph, str(k), "--imbalance", "0.03", "--seed", "1", "--threads",
                    "1", "--preset", "quality", "--out", str(out)],
                   check=True, capture_output=True, timeout=600)
    expected = np.loadtxt(out, dtype=np.int32)
    h = hypra.read(graph)
    result = hypra.partition(h, k, imbalance=0.03, seed=1, threads=1, preset="quality")
    assert np.array_equal(result.parts, expected)
    assert result.imbalance <= 0.03
