import gc
import sys
import threading
import weakref

import pytest

import quorva
from conftest import two_nodes


def two_node_net(name="L"):
    return two_nodes(name, [0.5, 0.5], [[0.9, 0.1], [0.2, 0.8]], states=("x", "y"))


def test_events_reach_the_listeners_that_asked_for_them():
    net = two_node_net()
    other = quorva.Net("Other")
    seen = []

    def record(tag):
        return lambda src, ev, detail: seen.append((tag, src.name, ev, getattr(detail, "name", None),
                                                    detail.net.name if detail is not None else None))

    net.on("create", record("net"))
    net.on(["remove"], record("net"))
    a, b = net.nodes["A"], net.nodes["B"]
    a.on(["change", "duplicate"], record("A"))
    b.on("remove", record("B"))
    cases = [
        (lambda: net.add_node("C", 2), [("net", "L", "create", "C", "L")]),
        (lambda: setattr(a, "finding", "y"), [("A", "A", "change", None, None)]),
        (lambda: setattr(b, "finding", "x"), []),                                       # B listens for remove only
        (lambda: other.copy_nodes([a]), [("A", "A", "duplicate", "A", "Other")]),
        (lambda: b.delete(), [("B", "B", "remove", None, None)]),
        (lambda: net.delete(), [("net", "L", "remove", None, None)]),
    ]
    for act, expected in cases:
        seen.clear()
        act()
        assert seen == expected
    other.delete()


def test_a_registration_holds_its_callback_until_removed():
    net = two_node_net()
    calls = []

    class Callback:
        def __call__(self, src, ev, detail):
            calls.append(ev)

    cb = Callback()
    ref = weakref.ref(cb)
    listener = net.on("create", cb)
    del cb
    gc.collect()
    net.add_node("C", 2)
    assert calls == ["create"] and ref() is not None
    listener.remove()
    gc.collect()
    assert ref() is None and not listener.active
    net.add_node("D", 2)
    assert calls == ["create"]
    listener.remove()  # a second removal does nothing
    with net.on("create", lambda *a: calls.append("with")):
        net.add_node("E", 2)
    net.add_node("F", 2)
    assert calls == ["create", "with"]
    on_node = net.nodes["A"].on("change", lambda *a: None)
    on_net = net.on("create", lambda *a: None)
    net.nodes["A"].delete()
    assert not on_node.active and on_net.active
    net.delete()
    assert not on_net.active


def test_a_listener_removed_by_another_during_an_event_is_not_called():
    net = two_node_net()
    calls = []
    later = None

    def first(src, ev, detail):
        calls.append("first")
        later.remove()

    net.on("create", first)
    later = net.on("create", lambda *a: calls.append("later"))
    net.add_node("C", 2)
    assert calls == ["first"]
    net.delete()


def test_an_exception_of_a_callback_comes_out_of_the_operation_after_it_is_done():
    net = two_node_net()

    def fails(src, ev, detail):
        raise KeyError("from the listener")

    listener = net.nodes["A"].on("change", fails)
    with pytest.raises(KeyError, match="from the listener"):
        net.nodes["A"].finding = "y"
    assert net.nodes["A"].finding == "y"
    listener.remove()
    net.nodes["A"].finding = "x"  # nothing left over raises later
    assert net.beliefs("B")[0] == pytest.approx(0.9)
    net.delete()


@pytest.mark.parametrize("act", [lambda src: src.net.delete(), lambda src: src.delete(),
                                 lambda src: src.net.undo()])
def test_a_callback_may_not_delete_its_net_or_nodes(act):
    net = two_node_net()
    net.set_undo_limit(5)
    net.nodes["A"].on("change", lambda src, ev, detail: act(src))
    with pytest.raises(RuntimeError, match="a listener may not"):
        net.nodes["A"].finding = "y"
    assert net.alive and list(net.nodes) == ["A", "B"]
    net.delete()


def test_callbacks_on_engine_threads_take_the_gil_and_report_to_the_unraisable_hook(monkeypatch):
    net = two_node_net()
    threads, reported = [], []
    monkeypatch.setattr(sys, "unraisablehook", lambda info: reported.append(info.exc_value))

    def on_copy(src, ev, detail):
        threads.append(threading.get_ident())
        raise ValueError("copied")

    net.nodes["A"].on("duplicate", on_copy)
    beliefs, prob = net.beliefs_batch({"A": ["x", "y", None]}, nodes=["B"], threads=2)
    assert beliefs["B"][0] == pytest.approx([0.9, 0.1])
    assert threads and threading.get_ident() not in threads
    assert len(reported) == len(threads) and all(isinstance(e, ValueError) for e in reported)
    net.delete()


def test_bad_registrations_are_refused():
    net = two_node_net()
    for events, callback, error in [("changed", print, ValueError), ([], print, ValueError),
                                    ("change", "not callable", TypeError)]:
        with pytest.raises(error):
            net.on(events, callback)
    net.delete()
