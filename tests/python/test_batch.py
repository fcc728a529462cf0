"""Net.beliefs_batch against one case at a time, for every form of input and thread count,
and quorva.dask on a local cluster of two worker processes."""
import numpy as np
import pandas as pd
import pytest

import quorva
from conftest import DATA, two_nodes

NODES = ["BP", "HR", "CO"]


@pytest.fixture
def cases(alarm):
    """300 sampled alarm cases with about a third of the values missing."""
    frame = alarm.sample(300, seed=11)
    rng = np.random.default_rng(5)
    return frame.mask(rng.random(frame.shape) < 0.35, "*")


def one_at_a_time(net, frame, nodes):
    beliefs = {n: [] for n in nodes}
    prob = []
    for _, row in frame.iterrows():
        net.findings = {k: v for k, v in row.items() if v != "*"}
        prob.append(net.findings_probability)
        for n in nodes:
            beliefs[n].append(net.beliefs(n))
    net.retract()
    return {n: np.array(v) for n, v in beliefs.items()}, np.array(prob)


@pytest.mark.parametrize("form, threads", [("frame", 1), ("frame", 3), ("dict", 2), ("file", 2),
                                           ("indices", 1)])
def test_batch_equals_single_cases(alarm, cases, tmp_path, form, threads):
    want, want_p = one_at_a_time(alarm, cases, NODES)
    if form == "frame":
        source = cases
    elif form == "dict":
        source = {k: list(v.replace("*", None)) for k, v in cases.items()}
    elif form == "indices":
        source = {k: np.array([-1 if s == "*" else alarm.nodes[k].states.index(s) for s in v])
                  for k, v in cases.items()}
    else:
        source = tmp_path / "cases.txt"
        cases.to_csv(source, sep="\t", index=False)
    got, p = alarm.beliefs_batch(source, nodes=NODES, threads=threads)
    assert set(got) == set(NODES)
    np.testing.assert_allclose(p, want_p, rtol=1e-5)
    for n in NODES:
        assert got[n].shape == (len(cases), len(alarm.nodes[n].states))
        np.testing.assert_allclose(got[n], want[n], atol=1e-6)


def test_batch_leaves_the_nets_findings(alarm, cases):
    alarm.findings = {"HR": "LOW"}
    alarm.beliefs_batch(cases.head(10), nodes=["BP"])
    assert alarm.findings == {"HR": "LOW"}


def test_impossible_case_gets_probability_zero():
    net = two_nodes("Det", [0.25, 0.75], [[1.0, 0.0], [0.0, 1.0]])
    with pytest.warns(quorva.QuorvaWarning, match="1 cases refused"):
        got, p = net.beliefs_batch({"A": ["t", "t", None], "B": ["t", "f", "f"]})
    np.testing.assert_allclose(p, [0.25, 0.0, 0.75], atol=1e-7)
    assert np.isnan(got["A"][1]).all()
    np.testing.assert_allclose(got["A"][2], [0, 1], atol=1e-7)
    net.delete()


@pytest.mark.parametrize("source, exc", [
    ({"HR": ["HIGH", "SOMETIMES"]}, ValueError),
    ({"HR": [0, 3]}, IndexError),
    ({"NOPE": ["x"]}, KeyError),
    ({"HR": ["HIGH"], "BP": ["LOW", "LOW"]}, ValueError),
    (42, TypeError),
    ("/no/such/case/file.txt", FileNotFoundError),
])
def test_bad_batch_input_raises(alarm, source, exc):
    with pytest.raises(exc):
        alarm.beliefs_batch(source)


def test_faulty_case_file_line_is_refused_with_a_warning(alarm, tmp_path):
    path = tmp_path / "cases.txt"
    path.write_text("HR\tBP\nHIGH\tLOW\nHIGH\tPURPLE\nLOW\t*\n")
    with pytest.warns(quorva.QuorvaWarning):
        got, p = alarm.beliefs_batch(str(path), nodes=["CO"])
    assert len(p) == 3 and np.isnan(p[1]) and np.isfinite(p[[0, 2]]).all()


def test_dask_local_cluster_equals_single_process(alarm, cases):
    dd = pytest.importorskip("dask.dataframe")
    distributed = pytest.importorskip("dask.distributed")
    import quorva.dask
    want, want_p = alarm.beliefs_batch(cases, nodes=NODES, threads=1)
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None, death_timeout=60) as cluster, \
            distributed.Client(cluster, timeout=60) as client:
        frame = dd.from_pandas(cases, npartitions=4)
        future = client.compute(quorva.dask.beliefs_frame(frame, str(DATA / "alarm.bif"), NODES, 1))
        computed = future.result(timeout=120)
        assert len(client.scheduler_info()["workers"]) == 2
        got, p = quorva.dask.beliefs(frame, str(DATA / "alarm.bif"), NODES)
    np.testing.assert_allclose(p, want_p, rtol=1e-6)
    np.testing.assert_allclose(computed["findings_probability"].to_numpy(), want_p, rtol=1e-6)
    for n in NODES:
        np.testing.assert_allclose(got[n], want[n], atol=1e-7)
