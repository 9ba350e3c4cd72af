"""Browsers and what passes for them, at the live page's server: a command gets through within a second,
the service's own clients notice nothing, and the program ends when it is asked to."""

import contextlib
import json
import multiprocessing
import socket
import struct
import time
import unittest

import msgpack

from navigation_service import DEADLINE_SECONDS

from attack import AttackTest, HonestClient, SimulatorUnderAttack, attackers, connect, lasting

PAGE_PORT = 8010
ATTACK_SECONDS = lasting(2.0)
COMMAND_SECONDS = 1.0
VIEWER_SECONDS = 2.0  # for a place: 1.5 s, or else a refusal
VIEWINGS = 4
FAST = ("--speed-factor", "300")
HOUR_BYTES = 500000  # of a trail
MOST_LATER_THREADS = 10  # those that begin when they are first needed; the attackers are many more

HOST = f"Host: localhost:{PAGE_PORT}\r\n"
GET = f"GET / HTTP/1.1\r\n{HOST}\r\n".encode()
STREAM = f"GET /events HTTP/1.1\r\n{HOST}\r\n".encode()
TRAIL = f"GET /trail HTTP/1.1\r\n{HOST}\r\n".encode()
PACKED = "Accept-Encoding: gzip\r\n"
HISTORY = f"GET /history HTTP/1.1\r\n{HOST}{PACKED}\r\n".encode()
WAYLINE = f"GET /wayline HTTP/1.1\r\n{HOST}\r\n".encode()


def visit():
    """A connection to the page's server."""
    return socket.create_connection(("127.0.0.1", PAGE_PORT), timeout=10.0)


def posted(operation, *arguments, length=None):
    """The bytes of a command."""
    body = json.dumps({"operation": operation, "arguments": arguments})
    return (f"POST /command HTTP/1.1\r\n{HOST}Content-Type: application/json\r\n"
            f"Content-Length: {len(body) if length is None else length}\r\n\r\n{body}").encode()


def read_all(link):
    """What comes until the other end closes."""
    read = b""
    while piece := link.recv(65536):
        read += piece
    return read


def hold(count, *texts):
    """Opens many connections, sends each a text, reads nothing, and opens anew what is closed."""
    links = []
    while True:
        with contextlib.suppress(OSError):
            links.append(visit())
            links[-1].sendall(texts[len(links) % len(texts)])
        if len(links) > count:
            links.pop(0).close()
        if len(links) == count:
            time.sleep(0.01)  # the attack's pace


def silent_70():
    hold(70, b"GET / HTTP/1.1\r\n")


def silent_1000():
    hold(900, b"GET / HTTP/1.1\r\n", b"", b"POST /command HTTP/1.1\r\n")


def stuck_viewers():
    hold(24, STREAM)


def unread_answers():
    hold(200, TRAIL, GET)


def byte_at_a_time():
    """A hundred requests at once of which a byte comes at a time, of the head and of the body."""
    request = posted("IsSteeringEngaged", length=4000)
    links = {}
    while True:
        while len(links) < 100:
            with contextlib.suppress(OSError):
                links[visit()] = 0
        for link, sent in list(links.items()):
            try:
                link.sendall(request[sent:sent + 1] or b" ")
                links[link] = sent + 1
            except OSError:
                link.close()
                del links[link]


def long_heads():
    while True:
        with contextlib.suppress(OSError), visit() as link:
            link.sendall(b"GET / HTTP/1.1\r\nX: " + b"x" * 300000)


def long_bodies():
    """Bodies as long as may be, whole and not, with as many values as may be and more."""
    while True:
        for body in (b"[" * 100000, b'{"operation":"Nudge","arguments":[' + b"0," * 900000 + b"0]}",
                     b'{"operation":"Nudge","arguments":[' + b"[]," * 1300000 + b"0]}"):
            with contextlib.suppress(OSError), visit() as link:
                link.sendall(f"POST /command HTTP/1.1\r\n{HOST}Content-Type: application/json\r\n"
                             f"Content-Length: {len(body)}\r\n\r\n".encode() + body)
                read_all(link)


def unfinished_bodies(size, announced=4000000, count=250):
    """An attacker with many connections that have each sent so much of a command, and go on with the
    next when there are more."""
    request = posted("IsSteeringEngaged", length=announced) + b" " * size

    def attack():
        links = []
        while True:
            with contextlib.suppress(OSError):
                links.append(visit())
                links[-1].sendall(request)
            if len(links) > count:
                links.pop(0).close()
    return attack


def bodies_without_end():
    """Many connections whose bodies go on and on, in large pieces."""
    request = posted("IsSteeringEngaged", length=4 << 20) + b" " * 60000
    links = []
    while True:
        while len(links) < 200:
            with contextlib.suppress(OSError):
                links.append(visit())
                links[-1].sendall(request)
                links[-1].setblocking(False)
        for link in list(links):
            try:
                link.send(b" " * 100000)
            except BlockingIOError:
                pass
            except OSError:
                link.close()
                links.remove(link)


def chunks_without_end():
    """Bodies of a coding that is not served."""
    head = (f"POST /command HTTP/1.1\r\n{HOST}Content-Type: application/json\r\n"
            "Transfer-Encoding: chunked\r\n\r\n").encode()
    while True:
        with contextlib.suppress(OSError), visit() as link:
            link.sendall(head)
            while True:
                link.sendall(b"10000\r\n" + b" " * 65536 + b"\r\n")


def pipelines():
    while True:
        with contextlib.suppress(OSError), visit() as link:
            link.sendall(posted("IsSteeringEngaged") * 2000)
            link.sendall(GET * 2000)


def half_closed_and_reset():
    while True:
        with contextlib.suppress(OSError), visit() as link:
            link.sendall(STREAM)
            link.shutdown(socket.SHUT_WR)
        with contextlib.suppress(OSError), visit() as link:
            link.sendall(posted("IsSteeringEngaged"))
            link.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


def flood():
    while True:
        with contextlib.suppress(OSError):
            visit().close()


def commands_of_nobody(count, pause):
    """An attacker that sends many whole commands at once, reads nothing and goes, over and over."""
    def attack():
        while True:
            links = []
            with contextlib.suppress(OSError):
                for _ in range(count):
                    links.append(visit())
                    links[-1].sendall(posted("IsSteeringEngaged"))
            for link in links:
                link.close()
            time.sleep(pause)  # the attack's pace
    return attack


def unread_commands():
    """More whole commands at once than there are connections."""
    hold(400, posted("IsSteeringEngaged"), posted("set_nudge", 1, 0.2), posted("DisengageSteering", 1))


def requests_of_nobody(request):
    """An attacker that asks again and again and closes at once."""
    def attack():
        while True:
            with contextlib.suppress(OSError), visit() as link:
                link.sendall(request)
    return attack


def history_of_many(count):
    """An attacker with many connections that ask for all of the history over and over: what there is
    and each of its pieces, compressed and not."""
    requests = [HISTORY, HISTORY.replace(PACKED.encode(), b"")]
    for piece in range(70):
        one = HISTORY.replace(b"/history", b"/history/%d" % piece)
        requests += [one, one.replace(PACKED.encode(), b"")]

    def attack():
        begun = 0
        while True:
            links = []
            with contextlib.suppress(OSError):
                for _ in range(count):
                    links.append(visit())
                    links[-1].sendall(requests[begun % len(requests)])
                    begun += 1
            for link in links:
                with contextlib.suppress(OSError), link:
                    read_all(link)
    return attack


def requests_of_many(request, count):
    """An attacker with many connections, all of which ask and read all of the answer."""
    def attack():
        while True:
            links = []
            with contextlib.suppress(OSError):
                for _ in range(count):
                    links.append(visit())
                    links[-1].sendall(request)
            for link in links:
                with contextlib.suppress(OSError), link:
                    read_all(link)
    return attack


def changing_viewers():
    """Asks for the stream again and again, and keeps what it gets for a while: always for more
    places than there are."""
    links = []
    while True:
        with contextlib.suppress(OSError):
            link = visit()
            link.settimeout(0.3)
            link.sendall(STREAM)
            if b"200" in link.recv(12):
                links.append((time.monotonic(), link))
            else:
                link.close()
        while links and time.monotonic() - links[0][0] > 8.0:
            links.pop(0)[1].close()
        time.sleep(0.005)  # the attack's pace


def waiting_viewers():
    """Twenty that wait for a place of the stream, and leave it as soon as they have one."""
    while True:
        with contextlib.suppress(OSError):
            links = [visit() for _ in range(20)]
            for link in links:
                link.sendall(STREAM)
            for link in links:
                link.recv(12)
                link.close()


class BarePeer:
    """Answers each connection with what it is sent first, and closes it: what a command takes on
    this machine at the least."""

    def __init__(self):
        listener = socket.create_server(("127.0.0.1", 0), backlog=1000)
        self._port = listener.getsockname()[1]
        context = multiprocessing.get_context("fork")
        self._process = context.Process(target=self._serve, args=(listener,), daemon=True)
        self._process.start()
        listener.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.kill()
        self._process.join()

    def ask(self):
        """How long a request takes."""
        start = time.monotonic()
        with socket.create_connection(("127.0.0.1", self._port)) as link:
            link.sendall(b"request")
            read_all(link)
        return time.monotonic() - start

    @staticmethod
    def _serve(listener):
        while True:
            link, _ = listener.accept()
            with link:
                link.sendall(link.recv(4096))


class PageUnderAttack(SimulatorUnderAttack):
    """A simulator with its page, at a speed; both listen once the constructor returns."""

    def __init__(self, *arguments, speed=2):
        super().__init__("--http", str(PAGE_PORT), "--speed", str(speed), *arguments)
        deadline = time.monotonic() + DEADLINE_SECONDS
        while True:
            with contextlib.suppress(OSError), visit():
                return
            if time.monotonic() > deadline:
                raise AssertionError("the page is not served")
            time.sleep(0.01)  # the service's port is listened on before


class Page(AttackTest):
    def command(self, *command):
        """How long a command takes, on a connection of its own."""
        start = time.monotonic()
        with visit() as link:
            link.sendall(posted(*command))
            answer = read_all(link)
        self.assertIn(b'"reasons":[],"result":1}', answer, command)
        return time.monotonic() - start

    def assert_commands_get_through(self):
        """Each command of an honest page is carried out within the time, but for what a bare peer
        takes longer."""
        waits, bare = [], []
        deadline = time.monotonic() + ATTACK_SECONDS
        with BarePeer() as peer:
            while time.monotonic() < deadline:
                for command in (("DisengageSteering", 1), ("SetImplementWidth", 1, 3.0)):
                    waits.append(self.command(*command))
                    bare.append(peer.ask())
                    time.sleep(0.03)  # as a hand that presses the button
        self.assert_within(max(waits), COMMAND_SECONDS + max(bare), f"of {len(waits)} commands")

    def hold_out(self, *attacks, arguments=(), prepare=lambda: None):
        """What must hold under the attacks."""
        with PageUnderAttack(*arguments) as simulator:
            prepare()
            threads = simulator.threads()
            with HonestClient() as honest, attackers(*attacks):
                time.sleep(0.5)  # until the attack is on
                self.assert_commands_get_through()
                self.assertLess(simulator.threads(), threads + MOST_LATER_THREADS, "whoever comes")
            self.assert_untroubled(honest.report)
            with attackers(*attacks):
                time.sleep(0.3)  # until it is on again
                self.assert_ends_in_time(simulator)

    def test_serves_beside_70_silent_connections(self):
        self.hold_out(silent_70)

    def test_serves_beside_900_silent_connections(self):
        self.hold_out(silent_1000)

    def test_serves_beside_requests_of_a_byte_at_a_time(self):
        self.hold_out(byte_at_a_time)

    def test_serves_beside_viewers_that_read_nothing(self):
        self.hold_out(stuck_viewers)

    def test_serves_beside_answers_that_nobody_reads(self):
        self.hold_out(unread_answers)

    def test_serves_beside_long_heads_and_bodies(self):
        self.hold_out(long_heads, long_bodies)

    def test_serves_beside_bodies_that_are_never_finished(self):
        for name, attack in (("130 kB of 4 MB", unfinished_bodies(130000)),
                             ("500 kB of 4 MB", unfinished_bodies(500000)),
                             ("15 kB of 16 kB", unfinished_bodies(15000, announced=16000)),
                             ("without end", bodies_without_end), ("chunks", chunks_without_end)):
            with self.subTest(name):
                self.hold_out(attack, attack)

    def test_serves_beside_pipelines(self):
        self.hold_out(pipelines)

    def test_serves_beside_connections_half_closed_and_reset(self):
        self.hold_out(half_closed_and_reset)

    def test_serves_beside_a_flood_of_connections(self):
        self.hold_out(flood)

    def test_serves_beside_floods_of_commands_whose_senders_go(self):
        for count, pause in ((200, 0.0), (100, 0.0), (250, 0.2)):
            with self.subTest(count=count, pause=pause):
                self.hold_out(commands_of_nobody(count, pause))

    def test_serves_beside_floods_of_requests_whose_senders_go(self):
        for request in (TRAIL, HISTORY, WAYLINE, STREAM, GET, TRAIL.replace(b"GET", b"HEAD"),
                        posted("IsSteeringEngaged", length=1000)):
            with self.subTest(request[:20]):
                self.hold_out(*2 * [requests_of_nobody(request)])

    def test_serves_beside_floods_of_requests_for_what_is_large(self):
        for request in (TRAIL, WAYLINE):
            for count in (1, 300):
                with self.subTest(request[:20], count=count):
                    self.hold_out(*3 * [requests_of_many(request, count)], arguments=FAST,
                                  prepare=self.have_a_long_trail_and_line)

    def have_a_long_trail_and_line(self):
        """An hour of driving, and a line of the most points."""
        points = [value for index in range(200000) for value in (20.0, 0.3 * index, 0.0)]
        with connect() as link:
            link.sendall(msgpack.packb([0, 1, "set_wayline", [4, 200000, *points]]))
            self.assertEqual([1, 1, None, 1], msgpack.unpackb(link.recv(4096)))
        deadline = time.monotonic() + DEADLINE_SECONDS
        size = 0
        while size < HOUR_BYTES:
            self.assertLess(time.monotonic(), deadline, "the trail does not grow")
            time.sleep(0.5)  # of many seconds
            with visit() as link:
                link.sendall(TRAIL)
                size = len(read_all(link))

    def test_serves_beside_floods_of_requests_for_the_history(self):
        for count in (1, 300):
            with self.subTest(count=count):
                self.hold_out(*3 * [history_of_many(count)], arguments=FAST,
                              prepare=self.have_a_long_history)

    def have_a_long_history(self):
        """An hour of driving, as the page asks for it."""
        self.have_a_long_trail_and_line()
        with visit() as link:
            link.sendall(HISTORY.replace(PACKED.encode(), b""))
            index = json.loads(read_all(link).split(b"\r\n\r\n", 1)[1])
        self.assertGreater(index["pieces"], 30)

    def test_serves_beside_commands_whose_answers_nobody_reads(self):
        self.hold_out(unread_commands)

    def test_lets_a_viewer_in_beside_others_that_come_and_go(self):
        for attacks in ((changing_viewers, changing_viewers), (waiting_viewers,), (stuck_viewers,)):
            with self.subTest(attacks[0].__name__), PageUnderAttack() as simulator, \
                 attackers(*attacks), BarePeer() as peer:
                time.sleep(1.5)  # until the attack is on
                for _ in range(VIEWINGS):
                    start = time.monotonic()
                    with visit() as link:
                        link.sendall(STREAM)
                        self.assertIn(b" 200 ", link.recv(15))
                    took = time.monotonic() - start
                    self.assert_within(took, VIEWER_SECONDS + peer.ask())
                self.assert_ends_in_time(simulator)


if __name__ == "__main__":
    unittest.main()
