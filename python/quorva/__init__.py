"""Bayesian belief and decision networks.

    import quorva
    net = quorva.read("alarm.bif")           # BIF or DNET
    net.nodes["HR"].states                    # ('LOW', 'NORMAL', 'HIGH')
    net.findings = {"HR": "HIGH", "CO": 1}    # state names or indices, likelihoods, None
    net.beliefs("BP")                         # numpy array, one entry per state
    net.findings_probability
    net.mpe()                                 # node -> state
    net.write("alarm.dne")

A net is built node by node with Net, add_node and add_link; a node's table is a numpy array
with one axis per parent (in parent order) and the node's states last.  Errors of the engine are
raised as quorva.Error (number, severity, message); its warnings are issued as QuorvaWarning.
Handles raise quorva.DeletedError once their net (or node) is deleted.  The package keeps one
engine environment per process, made at the first use.

Many cases at once: Net.beliefs_batch (threads in this process) and quorva.dask.beliefs (the
partitions of a Dask DataFrame, on a cluster).  case_file_settings sets how case files are
written and read.

Listeners (Net.on, Node.on) call Python when nodes are made, copied or removed, or findings
change.  Draws come from quorva.Random generators: net.random = quorva.Random(7), or random=
on the calls that draw.
"""
import os
import tempfile
from collections.abc import Mapping

import numpy as np

from ._errors import DeletedError, Error, InternalError, QuorvaWarning
from ._core import (Listener, Net, Node, Random, Sensitivity, guess_format, read, set_argument_checking,
                    set_memory_limit)
from . import _core

__all__ = ["Net", "Node", "Sensitivity", "Listener", "Random", "read", "Error", "InternalError",
           "DeletedError", "QuorvaWarning", "version", "set_memory_limit", "set_argument_checking",
           "case_file_settings", "CaseFileSettings", "guess_format"]


def version():
    """The engine's version string."""
    return _core._version()


class CaseFileSettings:
    """How case files are written (and, for the missing-data character, read): `delimiter`
    (",", " " or "\\t"), `missing` (the missing-data character: "*", "?", "-", " ", or "" for
    none) and `value_form` ("name", "title", "level" or "number": how a state is written).
    As a context manager it puts back the settings before it on exit."""

    def __init__(self, now, before):
        self.delimiter, self.missing, self.value_form = now
        self._before = before

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        _core._case_file_settings(*self._before)

    def __eq__(self, other):
        return isinstance(other, CaseFileSettings) and self._now() == other._now()

    def _now(self):
        return (self.delimiter, self.missing, self.value_form)

    def __repr__(self):
        return (f"CaseFileSettings(delimiter={self.delimiter!r}, missing={self.missing!r}, "
                f"value_form={self.value_form!r})")


def case_file_settings(delimiter=None, missing=None, value_form=None):
    """Sets how the process writes case files (None leaves a setting as it is) and returns the
    settings now in force, as a CaseFileSettings; used in a `with` block, the settings before
    come back at its end.  The missing-data character "" (none) or " " needs the delimiter ",".
    Files written by Net.sample(path=...), and case files read by learn, revise, test and
    beliefs_batch, follow them.  All or nothing: a refused setting raises quorva.Error and
    changes none."""
    before, now = _core._case_file_settings(delimiter, missing, value_form)
    return CaseFileSettings(now, before)


class NodeMap(Mapping):
    """The nodes of a net by name, in the net's order (a live view)."""

    def __init__(self, net):
        self._net = net

    def __getitem__(self, name):
        if not isinstance(name, str):
            raise TypeError("nodes are looked up by name")
        return self._net._node(name)

    def __iter__(self):
        return iter([n.name for n in self._net._node_list()])

    def __len__(self):
        return len(self._net._node_list())

    def __contains__(self, name):
        try:
            self[name]
        except KeyError:
            return False
        return True

    def __repr__(self):
        return f"NodeMap({list(self)!r})"


Net.nodes = property(NodeMap, doc="The nodes by name (a live mapping in the net's order).")


def _state_nodes(net):
    return [n.name for n in net._node_list() if n.num_states > 0 and n.kind != "utility"]


def _column_states(node, values):
    """One column of a batch as state indices, -1 where missing (None, NaN, -1, '*')."""
    states = node.states
    arr = np.asarray(values, dtype=object) if not isinstance(values, np.ndarray) else values
    if arr.dtype.kind in "iu":
        out = arr.astype(np.int32)
        bad = (out < -1) | (out >= len(states))
        if bad.any():
            raise IndexError(f"node '{node.name}' has {len(states)} states; "
                             f"got {arr[bad][0]}")
        return out
    lookup = {name: i for i, name in enumerate(states) if isinstance(name, str)}
    out = np.empty(len(arr), dtype=np.int32)
    for i, v in enumerate(arr):
        if v is None or v == "*" or (isinstance(v, float) and np.isnan(v)):
            out[i] = -1
        elif isinstance(v, str):
            if v not in lookup:
                raise ValueError(f"node '{node.name}' has no state named '{v}'")
            out[i] = lookup[v]
        elif isinstance(v, (int, np.integer)) and not isinstance(v, bool):
            if not -1 <= v < len(states):
                raise IndexError(f"node '{node.name}' has {len(states)} states; got {v}")
            out[i] = v
        else:
            raise ValueError(f"case {i}: {v!r} is not a state of node '{node.name}'")
    return out


def _cases_matrix(net, cases):
    """(column names, cases x columns int32 array) from a dict of arrays or a DataFrame."""
    if hasattr(cases, "columns") and hasattr(cases, "__getitem__") and not isinstance(cases, Mapping):
        columns = {str(c): cases[c].to_numpy() for c in cases.columns}
    elif isinstance(cases, Mapping):
        columns = dict(cases)
    else:
        raise TypeError("cases are a case file path, a dict of arrays or a pandas DataFrame")
    columns = {k: v for k, v in columns.items() if k not in ("IDnum", "NumCases")}
    names = list(columns)
    lengths = {len(v) for v in columns.values()}
    if len(lengths) > 1:
        raise ValueError("every column of the cases has the same length")
    count = lengths.pop() if lengths else 0
    matrix = np.full((count, len(names)), -1, dtype=np.int32)
    for j, name in enumerate(names):
        matrix[:, j] = _column_states(net.nodes[name], columns[name])
    return names, matrix


def _beliefs_batch(self, cases, nodes=None, threads=None):
    """Beliefs of many cases at once.

    `cases` is a case file path, a dict node -> array of state names or indices (-1, None or NaN
    for no finding), or a pandas DataFrame of such columns.  Each case is entered alone (the
    net's own findings are not used).  Returns (beliefs, findings_probability): a dict node ->
    array (case x state) for `nodes` (every node with states when None), and the probability of
    each case's findings.  A case whose findings are impossible gets probability 0 and NaN
    beliefs; one the case file reader refuses gets NaN (with a QuorvaWarning).  The work is
    shared by `threads` worker threads (default: the machine's cores), each with its own
    compiled copy of the net, without the GIL.
    """
    import warnings
    outputs = _state_nodes(self) if nodes is None else [self.nodes[n].name if isinstance(n, str)
                                                        else n.name for n in nodes]
    for name in outputs:
        if self.nodes[name].num_states <= 0:
            raise ValueError(f"node '{name}' has no states")
    if isinstance(cases, (str, os.PathLike)):
        path = os.fspath(cases)
        if not os.path.isfile(path):
            raise FileNotFoundError(f"no case file '{path}'")
        source, columns = path, _state_nodes(self)
    else:
        columns, source = _cases_matrix(self, cases)
    beliefs, prob, refused, first = self._beliefs_batch(source, columns, outputs, threads or 0)
    if refused:
        warnings.warn(f"{refused} cases refused (the first: {first})", QuorvaWarning, stacklevel=2)
    return beliefs, prob


Net.beliefs_batch = _beliefs_batch


def _as_case_file(net, cases):
    """A path to a case file of `cases` (a path, dict or DataFrame) and whether it is temporary."""
    if isinstance(cases, (str, os.PathLike)):
        return os.fspath(cases), False
    names, matrix = _cases_matrix(net, cases)
    settings = case_file_settings()  # the reader takes the missing-data character from them
    delimiter, missing = settings.delimiter, settings.missing
    fd, path = tempfile.mkstemp(suffix=".cas", text=True)
    with os.fdopen(fd, "w") as out:
        out.write(delimiter.join(names) + "\n")
        for row in matrix:
            out.write(delimiter.join(missing if s < 0 else f"#{s}" for s in row) + "\n")
    return path, True


def _learn(self, cases, nodes=None, method="counting", degree=1.0, max_iters=None,
           tolerance=None, threads=None):
    """Learns the CPTs of `nodes` (every node when None) from cases: a case file path, a dict of
    arrays or a DataFrame (as for beliefs_batch).  `method` is "counting" (adds the cases' counts
    to the tables) or "em" (expectation-maximisation, for missing values; `max_iters`,
    `tolerance` and `threads` tune it).  Returns the objective (log likelihood plus prior) of
    each EM iteration ([] for counting).  All or nothing: a refusal leaves the tables as they
    were."""
    path, temporary = _as_case_file(self, cases)
    try:
        return self._learn(path, nodes, method, float(degree), max_iters or 0, tolerance or 0.0,
                           threads or 0)
    finally:
        if temporary:
            os.unlink(path)


def _revise(self, cases, nodes=None, degree=1.0):
    """Adds the counts of the cases (a case file path, dict or DataFrame) to the CPTs of `nodes`
    (every node when None); a negative degree unlearns them."""
    path, temporary = _as_case_file(self, cases)
    try:
        self._revise_from_file(path, nodes, float(degree))
    finally:
        if temporary:
            os.unlink(path)


def _test(self, cases, test_nodes, unobserved=None):
    """Scores the net's predictions of `test_nodes` on cases (path, dict or DataFrame): for each
    case the other known values are findings.  Returns node -> dict of error_rate, log_loss,
    quadratic_loss and confusion (actual x predicted weights)."""
    path, temporary = _as_case_file(self, cases)
    try:
        return self._test(path, test_nodes, unobserved)
    finally:
        if temporary:
            os.unlink(path)


def _sample(self, count, seed=-1, threads=1, path=None, random=None):
    """Draws `count` cases from the net (given its findings; then a NumCases column holds each
    case's weight).  Returns a pandas DataFrame of state names, or, with `path`, writes them there
    as a case file (in the case_file_settings) and returns the path.  The draws are seeded by
    `seed`, else by one draw from `random` (a quorva.Random), else from the net's generator."""
    text = self._sample_text(int(count), int(seed), int(threads), random, path is None)
    if path is not None:
        with open(path, "w", newline="") as out:
            out.write(text)
        return path
    import io
    import pandas as pd
    return pd.read_csv(io.StringIO(text), sep="\t", dtype=str, keep_default_na=False)


def _sensitivity(self, target, nodes=None):
    """A Sensitivity of `target` to findings at `nodes` (every node when None)."""
    return Sensitivity(self, target, nodes)


def _mutual_info(self, target, nodes=None):
    """Mutual information (bits) between `target` and each node of `nodes`, node -> bits."""
    s = Sensitivity(self, target, nodes)
    names = _state_nodes(self) if nodes is None else [n if isinstance(n, str) else n.name for n in nodes]
    return {n: s.mutual_info(n) for n in names
            if self.nodes[n].kind in ("nature", "decision", "disconnected")}


Net.learn = _learn
Net.revise = _revise
Net.test = _test
Net.sample = _sample
Net.sensitivity = _sensitivity
Net.mutual_info = _mutual_info
