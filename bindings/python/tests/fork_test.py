"""Children of a process that has a client: os.fork() and multiprocessing."""

import multiprocessing
import os
import signal
import socket
import threading
import traceback
import unittest

import msgpack

from kestrove_navigation import NavigationClient, Offset
from scripted_peer import DEADLINE_SECONDS, PORT

CALLS_EACH = 500
PARENTS_LINK, CHILDS_LINK = 1.0, 2.0


class NumberingPeer:
    """Numbers the connections that it takes. It answers every request with the number of the
    connection that it came over, and sends an event with that to whoever subscribes to offsets.
    Replies to EngageSteering wait until `release` is set."""

    def __init__(self):
        self.release = threading.Event()
        self.is_asked = threading.Event()
        self.connections = 0
        self._listener = socket.create_server(("127.0.0.1", PORT))
        self._threads = [threading.Thread(target=self._accept)]
        self._threads[0].start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.release.set()
        self._listener.shutdown(socket.SHUT_RDWR)
        for thread in self._threads:  # the clients are gone
            thread.join(DEADLINE_SECONDS)
        self._listener.close()

    def _accept(self):
        try:
            while True:
                connection, _ = self._listener.accept()
                self.connections += 1
                self._threads.append(threading.Thread(
                    target=self._serve, args=(connection, float(self.connections))))
                self._threads[-1].start()
        except OSError:
            pass  # the test is over

    def _serve(self, connection, number):
        unpacker = msgpack.Unpacker()
        with connection:
            while data := connection.recv(65536):
                unpacker.feed(data)
                for message in unpacker:
                    self._answer(connection, number, message)

    def _answer(self, connection, number, message):
        if message == [2, "subscribe", ["cb_offsets"]]:
            connection.sendall(msgpack.packb([2, "cb_offsets", [number]]))
        if message[0] != 0:
            return
        if message[2] == "EngageSteering":
            self.is_asked.set()
            self.release.wait(DEADLINE_SECONDS)
            number = int(number)
        connection.sendall(msgpack.packb([1, message[1], None, number]))


def in_child(work):
    """Runs the work in a child; gives the child's process number."""
    child = os.fork()
    if child == 0:
        signal.alarm(int(DEADLINE_SECONDS))  # a child that hangs ends
        try:
            os._exit(0 if work() else 1)
        except BaseException:
            traceback.print_exc()
            os._exit(2)
    return child


def asks_on(client, link):
    """Whether all of many replies come over that link."""
    return {client.get_implement_width() for _ in range(CALLS_EACH)} == {link}


class Fork(unittest.TestCase):
    def assert_ends_well(self, child):
        self.assertEqual(0, os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))

    def test_gives_parent_and_child_a_link_each(self):
        with NumberingPeer(), NavigationClient() as client:
            client.timeout = DEADLINE_SECONDS
            self.assertEqual(PARENTS_LINK, client.get_implement_width())
            child = in_child(lambda: asks_on(client, CHILDS_LINK))
            self.assertTrue(asks_on(client, PARENTS_LINK))
            self.assert_ends_well(child)

    def test_leaves_the_parent_its_link_when_the_child_has_ended(self):
        with NumberingPeer() as peer, NavigationClient() as client:
            self.assertEqual(PARENTS_LINK, client.get_implement_width())

            def uses_and_disconnects():
                client.disconnect()
                with NavigationClient() as another:
                    return another.get_implement_width() == CHILDS_LINK

            self.assert_ends_well(in_child(uses_and_disconnects))
            self.assertEqual(PARENTS_LINK, client.get_implement_width())
            self.assertEqual(2, peer.connections)

    def test_takes_registrations_into_the_child(self):
        with NumberingPeer(), NavigationClient() as client:
            shifts = []
            client.on_offset(shifts.append)
            client.process_messages(wait=True)
            self.assertEqual([PARENTS_LINK], shifts)

            def hears():
                event = next(client.events(Offset, timeout=DEADLINE_SECONDS))
                return event.shift == CHILDS_LINK and shifts == [PARENTS_LINK, CHILDS_LINK]

            self.assert_ends_well(in_child(hears))
            self.assertEqual([PARENTS_LINK], shifts)

    def test_leaves_a_call_of_another_thread_to_the_parent(self):
        with NumberingPeer() as peer, NavigationClient() as client:
            client.timeout = DEADLINE_SECONDS
            client.on_offset(lambda _: None)
            client.process_messages(wait=True)
            answers = []
            thread = threading.Thread(target=lambda: answers.append(client.engage_steering()))
            thread.start()
            self.assertTrue(peer.is_asked.wait(DEADLINE_SECONDS))

            def goes_on():
                return (client.timeout == DEADLINE_SECONDS and asks_on(client, CHILDS_LINK)
                        and next(client.events(Offset, timeout=DEADLINE_SECONDS)).shift
                        == CHILDS_LINK)

            self.assert_ends_well(in_child(goes_on))
            peer.release.set()
            thread.join(DEADLINE_SECONDS)
            self.assertEqual([PARENTS_LINK], answers)
            self.assertEqual(PARENTS_LINK, client.get_implement_width())

    def test_may_be_called_within_a_callable(self):
        with NumberingPeer(), NavigationClient() as client:
            children = []

            def forks(shift):
                if shift == PARENTS_LINK:
                    children.append(os.fork())

            client.on_offset(forks)
            client.process_messages(wait=True)
            if children[0] == 0:
                signal.alarm(int(DEADLINE_SECONDS))
                os._exit(0 if self._thread_asks_on(client, CHILDS_LINK) else 1)
            self.assertTrue(asks_on(client, PARENTS_LINK))
            self.assert_ends_well(children[0])

    @staticmethod
    def _thread_asks_on(client, link):
        answers = [asks_on(client, link)]
        thread = threading.Thread(target=lambda: answers.append(asks_on(client, link)))
        thread.start()
        thread.join(DEADLINE_SECONDS)
        return answers == [True, True]


def ask_for_parent(client, answers):
    answers.send(asks_on(client, CHILDS_LINK))


class Multiprocessing(unittest.TestCase):
    def test_gives_parent_and_child_a_link_each(self):
        context = multiprocessing.get_context("fork")
        with NumberingPeer(), NavigationClient() as client:
            client.timeout = DEADLINE_SECONDS
            self.assertEqual(PARENTS_LINK, client.get_implement_width())
            here, there = context.Pipe(duplex=False)
            process = context.Process(target=ask_for_parent, args=(client, there))
            process.start()
            self.assertTrue(asks_on(client, PARENTS_LINK))
            self.assertTrue(here.poll(DEADLINE_SECONDS) and here.recv())
            process.join(DEADLINE_SECONDS)
            self.assertEqual(0, process.exitcode)


if __name__ == "__main__":
    unittest.main()
