"""Nets, nodes, tables, findings and beliefs through the package, against sums by hand."""
import warnings

import numpy as np
import pytest

import quorva
from conftest import DATA, joint_small, two_nodes


def test_read_alarm_nodes_and_states(alarm):
    assert len(alarm.nodes) == 37
    hr = alarm.nodes["HR"]
    assert hr.states == ("LOW", "NORMAL", "HIGH")
    assert [p.name for p in alarm.nodes["BP"].parents] == ["CO", "TPR"]
    assert hr.kind == "nature" and hr.type == "discrete"
    assert "HR" in alarm.nodes and "NOPE" not in alarm.nodes


def test_table_axes_follow_parent_order(small):
    b = small.nodes["B"]
    assert b.table.shape == (2, 3, 2)
    assert b.table[1, 2, 0] == pytest.approx(0.25)
    assert b.table[0, 1, 1] == pytest.approx(0.6)


@pytest.mark.parametrize("findings, query", [
    ({}, "B"),
    ({"B": "yes"}, "A"),
    ({"B": "no"}, "C"),
    ({"B": 0, "A": "a1"}, "C"),
    ({"C": "c2"}, "B"),
])
def test_beliefs_match_enumeration(small, findings, query):
    joint = joint_small()
    axes = {"A": 0, "C": 1, "B": 2}
    names = {"A": ("a0", "a1"), "C": ("c0", "c1", "c2"), "B": ("yes", "no")}
    masked = joint.copy()
    for node, state in findings.items():
        idx = names[node].index(state) if isinstance(state, str) else state
        keep = np.zeros(joint.shape[axes[node]])
        keep[idx] = 1
        masked *= np.expand_dims(keep, [i for i in range(3) if i != axes[node]])
    others = tuple(i for i in range(3) if i != axes[query])
    expected = masked.sum(axis=others) / masked.sum()
    small.findings = findings
    assert small.beliefs(query) == pytest.approx(expected, abs=1e-6)
    assert small.nodes[query].beliefs == pytest.approx(expected, abs=1e-6)
    assert small.findings_probability == pytest.approx(masked.sum(), abs=1e-6)


def test_likelihood_finding(small):
    small.findings = {"B": [1.0, 0.5]}
    joint = joint_small() * np.array([1.0, 0.5])
    assert small.beliefs("A") == pytest.approx(joint.sum(axis=(1, 2)) / joint.sum(), abs=1e-6)
    assert small.nodes["B"].finding == pytest.approx([1.0, 0.5])


@pytest.mark.parametrize("findings, exc", [
    ({"NOPE": "yes"}, KeyError),
    ({"B": "maybe"}, ValueError),
    ({"B": 2}, IndexError),
    ({"B": [1.0]}, ValueError),
    ({"B": object()}, TypeError),
    ({3: "yes"}, TypeError),
])
def test_bad_findings_raise_and_leave_findings(small, findings, exc):
    small.findings = {"A": "a1"}
    with pytest.raises(exc):
        small.findings = findings
    assert small.findings == {"A": "a1"}


def test_impossible_findings_raise_engine_error_and_restore():
    net = two_nodes("Det", [0.5, 0.5], [[1.0, 0.0], [0.0, 1.0]])
    net.findings = {"A": "t"}
    net.compile()
    with pytest.raises(quorva.Error) as info:
        net.findings = {"A": "t", "B": "f"}
        net.beliefs("A")
    assert info.value.severity >= 5 and info.value.number > 0 and info.value.message
    # The refused assignment leaves the findings, and so the beliefs, as they were.
    assert net.findings == {"A": "t"}
    assert np.allclose(net.beliefs("B"), [1.0, 0.0])
    net.delete()


def test_engine_errors_carry_number_severity_message():
    with pytest.raises(quorva.Error) as info:
        quorva.Net("1bad")
    assert info.value.number == 5110 and info.value.severity == 5
    assert "1bad" in info.value.message
    net = quorva.Net("Dup")
    net.add_node("A", 2)
    with pytest.raises(quorva.Error):
        net.add_node("A", 2)
    assert len(net.nodes) == 1


def test_wrong_table_shape_is_refused(small):
    b = small.nodes["B"]
    before = b.table.copy()
    with pytest.raises(ValueError, match=r"\(2, 3, 2\)"):
        b.table = np.ones((3, 2, 2)) / 2
    np.testing.assert_array_equal(b.table, before)


def test_handles_raise_after_delete():
    net = quorva.Net("Gone")
    a = net.add_node("A", ["x", "y"])
    b = net.add_node("B", ["x", "y"])
    b.delete()
    with pytest.raises(quorva.DeletedError):
        b.states
    assert a.states == ("x", "y")
    with net:
        pass
    assert not net.alive
    for call in (lambda: a.name, lambda: net.nodes["A"], lambda: net.beliefs("A"),
                 lambda: setattr(a, "table", np.array([0.5, 0.5]))):
        with pytest.raises(quorva.DeletedError):
            call()
    net.delete()  # a second delete does nothing


def test_node_of_another_net_is_refused(small):
    other = quorva.Net("Other")
    x = other.add_node("X", 2)
    with pytest.raises(ValueError):
        small.add_link(x, "B")
    other.delete()


@pytest.mark.parametrize("suffix", [".dne", ".bif"])
def test_write_and_read_back(small, tmp_path, suffix):
    path = tmp_path / f"small{suffix}"
    small.findings = {"B": "yes"}
    small.write(str(path))
    with quorva.read(str(path)) as again:
        assert again.nodes["B"].states == ("yes", "no")
        assert [p.name for p in again.nodes["B"].parents] == ["A", "C"]
        np.testing.assert_allclose(again.nodes["B"].table, small.nodes["B"].table, atol=1e-6)


def test_read_missing_file_raises():
    with pytest.raises(quorva.Error):
        quorva.read(str(DATA / "no_such_net.dne"))


def test_warning_records_become_python_warnings():
    net = quorva.Net("Cycle")
    a = net.add_node("A", 2)
    b = net.add_node("B", 2)
    net.add_link(a, b)
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        net.add_link(b, a)  # closes a cycle: made, with a warning
    assert any(issubclass(w.category, quorva.QuorvaWarning) for w in caught)
    net.delete()
