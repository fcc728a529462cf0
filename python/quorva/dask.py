"""Beliefs of the cases of a Dask DataFrame, on every worker of a cluster.

    from dask.distributed import Client
    import dask.dataframe as dd
    import quorva.dask

    client = Client("tcp://scheduler:8786")     # or Client(LocalCluster(...)) on one machine
    cases = dd.read_csv("cases-*.txt", sep="\\t", dtype=str)
    beliefs, probability = quorva.dask.beliefs(cases, "/shared/alarm.bif", nodes=["BP", "HR"])

Each partition is handed to Net.beliefs_batch on the worker that holds it; each worker process
reads the net once and keeps it (per path and modification time).  On a real cluster:
  - the net file must be readable at the same path on every worker (a shared file system, or
    copied there beforehand);
  - the quorva package must be importable on every worker (installed there, with the same
    PYTHONPATH as on the client);
  - `threads` is the number of threads each partition's batch uses on its worker.
"""
import os
import threading

import numpy as np

from . import read

_nets = {}
_nets_lock = threading.Lock()


def _net(path):
    """The net of `path`, read once per process (again when the file changes)."""
    key = (os.path.abspath(path), os.stat(path).st_mtime_ns)
    with _nets_lock:
        net = _nets.get(key)
        if net is None:
            net = read(path)
            _nets[key] = net
        return net


def _columns(net, nodes):
    """The output columns: (node, state) for every state of every node."""
    return [(n, s) for n in nodes for s in net.nodes[n].states]


def _partition(frame, net_path, nodes, threads):
    import pandas as pd
    net = _net(net_path)
    beliefs, probability = net.beliefs_batch(frame, nodes=nodes, threads=threads)
    data = {f"{n}={s}": beliefs[n][:, i] for n in nodes for i, s in enumerate(net.nodes[n].states)}
    data["findings_probability"] = probability
    return pd.DataFrame(data, index=frame.index)


def beliefs_frame(dataframe, net_path, nodes=None, threads=None):
    """A lazy Dask DataFrame of the beliefs of each case: one column "NODE=STATE" per state of
    each node of `nodes` (every node with states when None) and "findings_probability"."""
    import pandas as pd
    net = _net(net_path)
    if nodes is None:
        nodes = [n.name for n in net._node_list() if n.num_states > 0 and n.kind != "utility"]
    nodes = list(nodes)
    meta = pd.DataFrame({**{f"{n}={s}": pd.Series(dtype="float64") for n, s in _columns(net, nodes)},
                         "findings_probability": pd.Series(dtype="float64")})
    return dataframe.map_partitions(_partition, net_path, nodes, threads, meta=meta)


def beliefs(dataframe, net_path, nodes=None, threads=None):
    """Beliefs of every case of a Dask DataFrame (columns: nodes; values: state names or indices,
    None/NaN/-1 for no finding), computed on the cluster of the current Dask client.  Returns
    what Net.beliefs_batch returns: (dict node -> array case x state, array of findings
    probabilities), cases in the DataFrame's order."""
    net = _net(net_path)
    if nodes is None:
        nodes = [n.name for n in net._node_list() if n.num_states > 0 and n.kind != "utility"]
    frame = beliefs_frame(dataframe, net_path, nodes, threads).compute()
    out = {}
    for n in nodes:
        cols = [f"{n}={s}" for s in net.nodes[n].states]
        out[n] = frame[cols].to_numpy(dtype=np.float64)
    return out, frame["findings_probability"].to_numpy(dtype=np.float64)
