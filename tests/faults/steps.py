"""A fault at one call on files of a scenario, and what must hold afterwards."""

import contextlib
import copy
import time
import types

import invariants
from fault_rig import PASSING, Tracer, rig
from scenarios import prepared


class Stage:
    """A prepared scenario, from which each fault starts anew."""

    def __init__(self, scenario):
        self.name = scenario.name
        self.scenario = scenario
        self.rig, self.ledger = prepared(self.scenario)

    def close(self):
        self.rig.close(False)

    def count(self, all_calls=False):
        """The calls that the act makes where nothing fails."""
        with Play(self) as play:
            tracer = play.act(all_calls=all_calls)
            play.await_over()
            tracer.stop()
            invariants.check(play.rig, play.ledger)
            return tracer.calls()


@contextlib.contextmanager
def telling(what):
    """A failure within says after what it came."""
    try:
        yield
    except AssertionError as failure:
        raise AssertionError(f"{what}: {failure}") from failure


class Play:
    """One performance of an act, from the beginning."""

    def __init__(self, stage):
        self.scenario = stage.scenario
        self.rig = stage.rig
        self.ledger = copy.deepcopy(stage.ledger)
        self._calls_failed = False
        self.rig.return_to_kept()

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        self.rig.kill()
        if kind:
            print(self.rig.said_path.read_text(encoding="utf-8", errors="replace")[-4000:])

    def act(self, *strike, all_calls=False):
        """Begins; the act has ended when this returns, but what it set going may not."""
        self.rig.start_cloud()
        if not self.scenario.launches:
            self.rig.start_gateway()
        tracer = self.launch(*strike, all_calls=all_calls) if self.scenario.launches else Tracer(
            self.rig, *strike, all_calls=all_calls)
        self.scenario.act(self.rig, self.ledger, tracer.is_beyond_hope)
        return tracer

    def launch(self, *strike, all_calls=False):
        self._calls_failed = self._calls_failed or "--kill" not in strike
        tracer = Tracer(self.rig, *strike, all_calls=all_calls, launch=True)
        self.rig.gateway = TracedProgram(tracer)
        return tracer

    def start_again(self, *strike):
        """A start after a kill under a fault of its own, until it listens, or for a while behind the fault."""
        self.rig.gateway.kill()
        tracer = self.launch(*strike)
        self.await_fault(tracer, is_over=lambda: (self.rig.status() or {"listener": {}})["listener"].get("state") == "listening")
        tracer.stop()
        return tracer

    def await_over(self, otherwise=lambda: False):
        rig.await_that("the act", lambda: otherwise() or self.scenario.is_over(self.rig, self.ledger))

    def await_fault(self, tracer, is_over=None):
        """Until all is over without it, or for a while behind it."""
        is_over = is_over or (lambda: self.scenario.is_over(self.rig, self.ledger))
        rig.await_that("the fault", lambda: tracer.struck() or self.has_ended() or is_over())
        end = time.monotonic() + PASSING
        while (time.monotonic() < end and not tracer.is_quiet() and not self.has_ended()
               and not self.scenario.is_over(self.rig, self.ledger)):
            time.sleep(0.02)

    def has_ended(self):
        """True for a gateway that gave up, as a start may."""
        return not rig.session_members(self.rig.gateway.process.pid)

    def killed_at(self, step):
        """Plays the act with a kill at the step; where that was, None where the act was over before."""
        tracer = self.act("--kill", step)
        self.await_over(otherwise=tracer.has_killed)
        where = tracer.struck()
        tracer.stop()
        return where

    def recover(self):
        """A restart, a sender or a person asking again, and everything holds."""
        self.rig.gateway.kill()
        self.scenario.check_home(self.rig, self._calls_failed)
        self.rig.restart()
        self.scenario.ask_again(self.rig, self.ledger)
        self.rig.await_settled(self.ledger)
        invariants.check(self.rig, self.ledger)


class TracedProgram:
    """A gateway that the tracer started."""

    def __init__(self, tracer):
        self._tracer = tracer
        self.process = types.SimpleNamespace(pid=tracer.session)

    def check(self):
        if not rig.session_members(self.process.pid):
            raise AssertionError("the gateway ended by itself")

    def kill(self):
        rig.kill_session(self.process.pid)
        self._tracer.stop()
