"""Queries, undo, decisions, sensitivity, approximate beliefs, sampling and learning."""

import numpy as np
import pytest

import quorva
from conftest import joint_small, small_net


def test_joint_beliefs_and_map_match_enumeration(small):
    joint = joint_small()
    small.findings = {"B": "no"}
    given = joint[:, :, 1] / joint[:, :, 1].sum()
    assert small.joint_beliefs(["A", "C"]) == pytest.approx(given, abs=1e-6)
    best, p = small.map(["A", "C"])
    i, j = np.unravel_index(np.argmax(given), given.shape)
    assert best == {"A": ("a0", "a1")[i], "C": ("c0", "c1", "c2")[j]}
    assert p == pytest.approx(given[i, j], abs=1e-6)
    assert small.joint_probability({"A": "a0", "C": 1}) == pytest.approx(given[0, 1], abs=1e-6)
    both = small.joint_probability({"A": "a0", "C": 1}, and_findings=True)
    assert both == pytest.approx(joint[0, 1, 1] / joint.sum(), abs=1e-6)
    full = joint / joint.sum()
    small.findings = {}
    k = np.unravel_index(np.argmax(full), full.shape)
    assert small.mpe() == {"A": ("a0", "a1")[k[0]], "C": ("c0", "c1", "c2")[k[1]], "B": ("yes", "no")[k[2]]}


def test_graph_questions(small):
    assert small.d_separated(["A"], ["C"])
    assert not small.d_separated(["A"], ["C"], given=["B"])
    assert {n.name for n in small.nodes["A"].markov_blanket()} == {"B", "C"}


def test_undo_redo_of_a_node_and_a_table(small):
    small.set_undo_limit(10)
    b = small.nodes["B"]
    before = b.table.copy()
    b.table = np.full((2, 3, 2), 0.5)
    d = small.add_node("D", 2)
    assert small.undo()  # the node
    with pytest.raises(quorva.DeletedError):
        d.name
    assert "D" not in small.nodes
    assert small.undo()  # the table
    np.testing.assert_allclose(b.table, before, atol=1e-7)
    assert small.redo()
    np.testing.assert_allclose(b.table, 0.5)


def test_intervention_cuts_the_parents(small):
    small.nodes["B"].intervene("yes")
    assert small.nodes["B"].parents == ()
    small.findings = {}
    assert small.beliefs("A") == pytest.approx([0.3, 0.7], abs=1e-6)
    assert small.beliefs("B") == pytest.approx([1, 0], abs=1e-6)


def test_decision_expected_utilities():
    net = quorva.Net("Umbrella")
    rain = net.add_node("Rain", ["yes", "no"])
    take = net.add_node("Take", ["take", "leave"])
    take.kind = "decision"
    u = net.add_node("U", 0)
    u.kind = "utility"
    net.add_link(rain, u)
    net.add_link(take, u)
    rain.table = np.array([0.3, 0.7])
    u.function_table = np.array([[70.0, 0.0], [20.0, 100.0]])  # rows: rain; columns: take
    eu = take.expected_utils()
    assert eu == pytest.approx([0.3 * 70 + 0.7 * 20, 0.3 * 0 + 0.7 * 100])
    assert net.expected_utility() == pytest.approx(max(eu))
    net.delete()


def test_mutual_information_against_sums(small):
    joint = joint_small().sum(axis=1)  # A x B
    pa, pb = joint.sum(axis=1), joint.sum(axis=0)
    expected = float((joint * np.log2(joint / np.outer(pa, pb))).sum())
    assert small.mutual_info("B", ["A"])["A"] == pytest.approx(expected, abs=1e-5)
    s = small.sensitivity("B", ["A", "C"])
    entropy = -float((pb * np.log2(pb)).sum())
    assert s.mutual_info("B") == pytest.approx(entropy, abs=1e-5)
    lo, hi = s.belief_range("A", "yes")
    cond = joint[:, 0] / pa
    assert (lo, hi) == pytest.approx((cond.min(), cond.max()), abs=1e-5)
    spread = float((pa * (cond - pb[0]) ** 2).sum())
    assert s.belief_change_variance("A", "yes") == pytest.approx(spread, abs=1e-6)


@pytest.mark.parametrize("method", ["lw", "is", "loopy"])
def test_approximate_beliefs_near_exact(alarm, method):
    alarm.findings = {"HR": "HIGH"}
    exact = {n: alarm.beliefs(n) for n in ("BP", "CO", "HRBP")}
    beliefs, errors, summary = alarm.approx_beliefs(method, samples=200000 if method != "loopy" else 0, seed=3)
    for n, e in exact.items():
        tol = 0.02 if method == "loopy" else max(0.01, 5 * float(errors[n].max()))
        assert beliefs[n] == pytest.approx(e, abs=tol)
    assert summary["samples"] > 0


def test_sample_and_learn_back(small, tmp_path):
    frame = small.sample(20000, seed=7)
    assert list(frame.columns) == ["A", "C", "B"]
    assert set(frame["B"]) <= {"yes", "no"}
    learnt = small_net("Learnt", tables=False)
    a, c, b = (learnt.nodes[n] for n in "ACB")
    learnt.learn(frame, method="counting")
    np.testing.assert_allclose(b.table, small.nodes["B"].table, atol=0.05)
    np.testing.assert_allclose(a.table, [0.3, 0.7], atol=0.02)
    # EM from a file with B hidden in half the cases still finds A's table; its objective never falls.
    half = frame.copy()
    half.loc[::2, "B"] = "*"
    path = tmp_path / "cases.txt"
    half.to_csv(path, sep="\t", index=False)
    for n in (a, c, b):
        n.table = None
        n.experience = None
    objective = learnt.learn(str(path), method="em", max_iters=30)
    assert all(y >= x - 1e-6 for x, y in zip(objective, objective[1:]))
    np.testing.assert_allclose(a.table, [0.3, 0.7], atol=0.02)
    scores = learnt.test(frame.head(2000), ["B"])
    assert 0 <= scores["B"]["error_rate"] <= 1 and scores["B"]["confusion"].sum() == pytest.approx(2000)
    learnt.delete()


def test_equation_to_table():
    net = quorva.Net("Eq")
    a = net.add_node("A", ["f", "t"])
    b = net.add_node("B", ["f", "t"])
    net.add_link(a, b)
    b.equation = "P (B | A) = (B == t) ? (A == t ? 0.9 : 0.2) : (A == t ? 0.1 : 0.8)"
    b.equation_to_table()
    np.testing.assert_allclose(b.table, [[0.8, 0.2], [0.1, 0.9]], atol=1e-6)
    with pytest.raises(quorva.Error):
        b.equation = "P (B | A) = (B == t"
    assert b.equation.startswith("P (B | A) = (B == t) ?")
    net.delete()
