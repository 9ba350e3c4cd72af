"""One script of calls from two clients to a simulator whose clock is stepped, and all that comes of
it: what each client received, and the track file. It is the same each time."""

import math
import os
import random
import tempfile

import msgpack

from navigation_service import Client, Simulator

EVENTS = ["cb_engage_status", "cb_guidance_status", "cb_offsets", "cb_wayline_status",
          "cb_implement_width_changed", "cb_tuning_parameter_changed", "cb_relative_position",
          "cb_draw_points"]
CALLS = 200
LONG = 3000  # points of a line that is built aside
OPTIONS = ("--clock", "stepped", "--port", "0", "--speed", "3", "--ground", "field",
           "--backlash", "0.3", "--seed", "21")


def curve(kind, points, east):
    """The list form of a curve to the north."""
    values = [kind, points]
    for index in range(points):
        north = 0.5 * index
        values += [east + 15.0 * math.sin(north / 50.0), north, 0.0]
    return values


def sample(number):
    """A sample of a position feed, as its text."""
    values = {1: 51.0 + number * 1e-6, 2: 7.0, 3: 100.0, 4: 0.0, 5: 2.0, 15: 1, 16: 4, 17: 12, 18: 1,
              20: number, 21: 1_700_000_000 + number / 10}
    return ";".join(f"{place}={values.get(place, 0)}" for place in range(1, 22))


class Caller(Client):
    """A client that keeps all that it receives, but for the replies that overtake."""

    def __init__(self, port):
        super().__init__(port=port)
        self.received = []
        self.overtaking = set()
        self.answered = set()

    def ask(self, *calls):
        """Sends requests in one packet, and gives their numbers."""
        packet = b""
        first = self.number + 1
        for name, *arguments in calls:
            self.number += 1
            packet += msgpack.packb([0, self.number, name, arguments])
        self.send(packet)
        return list(range(first, self.number + 1))

    def take(self, number):
        """Receives until the reply to a request has come."""
        while number not in self.answered:
            message = self.receive()
            is_reply = message[0] == 1
            if is_reply:
                self.answered.add(message[1])
            if not (is_reply and message[1] in self.overtaking):
                self.received.append(msgpack.packb(message))

    def be_read(self):
        """Waits until all that was sent has been read, by what overtakes and is refused."""
        number, = self.ask(["DisengageSteering"])
        self.overtaking.add(number)
        self.take(number)


def call(chance):
    """Some call, and whether it is a notification."""
    wayline = chance.choice([lambda: [0, 2.0, 0.0, 0.0, 1.0, 100.0, 0.0],
                             lambda: curve(3, 40, chance.uniform(-3, 3)),
                             lambda: curve(4, LONG, chance.uniform(-3, 3))])
    return chance.choice([
        lambda: (["Nudge", 1, chance.randint(0, 1), chance.uniform(-0.4, 0.4)], False),
        lambda: (["SetFieldOffset", 1, chance.uniform(-0.3, 0.3)], False),
        lambda: (["SetImplementWidth", 1, chance.uniform(1.0, 6.0)], False),
        lambda: (["SetVelocitySetPoint", chance.uniform(0.5, 6.0)], True),
        lambda: (["set_tuning_parameter", chance.randint(0, 3), chance.uniform(0.5, 2.0), 0], True),
        lambda: (["set_lookahead_time", chance.uniform(0.5, 3.0), 0], True),
        lambda: (["set_wayline", *wayline()], False),
        lambda: (["StartNavigation", 1, chance.randint(0, 1)], False),
        lambda: (["EngageSteering", 1], False),
        lambda: (["AutoSetNudge", 1], False),
        lambda: (["SetCurveFilterSize", 1, chance.randint(1, 31)], False),
        lambda: (["why_not_engaged"], False),
        lambda: (["get_wayline"], False),
        lambda: (["SetPositionData", sample(chance.randint(1, 999))], True),
    ])()


def step(chance, first, second):
    """A call or an advance, by one or both of the clients. Returns how many calls there were."""
    kind = chance.randint(0, 3)
    who, other = (first, second) if chance.randint(0, 1) else (second, first)
    what, is_notification = call(chance)
    seconds = chance.randint(1, 150) * 0.02
    if kind == 0:
        who.take(who.ask(["simulator_advance", seconds])[0])
        return 1
    if is_notification:
        who.notify(*what)
        who.take(who.ask(["simulator_time"])[0])
        return 2
    if kind == 1:
        who.take(who.ask(what)[0])
        return 1
    # What both ask for while time is moved on takes effect behind that, the first's before the
    # second's.
    numbers = first.ask(["simulator_advance", seconds], what, ["simulator_time"])
    first.be_read()
    further, _ = call(chance)
    behind = second.ask(["get_nudge", 1], further, ["simulator_time"])
    first.take(numbers[-1])
    second.take(behind[-1])
    return len(numbers) + len(behind)


def drive():
    """Runs the script with a simulator of its own.

    @return what each client received, a message a piece, and the track file's lines."""
    with tempfile.TemporaryDirectory() as folder:
        track = os.path.join(folder, "drive.csv")
        with Simulator(*OPTIONS, "--track", track) as simulator:
            port = int(simulator.announcement.split()[-1])
            chance = random.Random(21)
            with Caller(port) as first, Caller(port) as second:
                for client in (first, second):
                    for event in EVENTS:
                        client.notify("subscribe", event)
                    client.take(client.ask(["simulator_time"])[0])
                calls = 0
                while calls < CALLS:
                    calls += step(chance, first, second)
                for client in (first, second):
                    client.take(client.ask(["simulator_describe"])[0])
                received = [list(first.received), list(second.received)]
            code = simulator.end()
            assert code == 0, code
        with open(track, "rb") as file:
            lines = file.read().splitlines()
    # The describing line names the track file, which is another one each time.
    return [received[0][:-1], received[1][:-1], lines]


def difference(expected, found):
    """Where two runs differ, in words; empty where they do not."""
    for what, ours, theirs in zip(("the first client's message", "the second client's message",
                                   "line of the track file"), expected, found):
        for number, (one, other) in enumerate(zip(ours, theirs)):
            if one != other:
                return f"{what} {number}: {one!r} and {other!r}"
        if len(ours) != len(theirs):
            return f"{what}: {len(ours)} of them and {len(theirs)}"
    return ""
