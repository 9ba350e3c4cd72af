"""A peer on the service's port that does what a test has written down."""

import queue
import socket
import threading

import msgpack

PORT = 5010
DEADLINE_SECONDS = 60.0
SILENCE = object()


class ServiceError:
    """An error reply."""

    def __init__(self, text):
        self.text = text


class ScriptedPeer:
    """Takes connections, keeps what arrives in `messages`, and answers each request with the next
    of the replies: a value, a ServiceError, SILENCE, or bytes that are sent as they are."""

    def __init__(self):
        self.messages = queue.Queue()
        self.replies = queue.Queue()
        self.connection = None
        self._listener = socket.create_server(("127.0.0.1", PORT))
        self._thread = threading.Thread(target=self._serve)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._listener.shutdown(socket.SHUT_RDWR)
        if self.connection is not None:
            self.connection.shutdown(socket.SHUT_RDWR)
        self._thread.join(DEADLINE_SECONDS)
        self._listener.close()

    def message(self):
        """The next message that has arrived."""
        return self.messages.get(timeout=DEADLINE_SECONDS)

    def push(self, event, *payload):
        """Sends an event, after its subscription has arrived."""
        while self.message() != [2, "subscribe", [event]]:
            pass
        self.push_again(event, *payload)

    def push_again(self, event, *payload):
        """Sends an event."""
        self.connection.sendall(msgpack.packb([2, event, list(payload)]))

    def _serve(self):
        try:
            while True:
                connection, _ = self._listener.accept()
                with connection:
                    self.connection = connection
                    self._answer(connection)
                    self.connection = None
        except OSError:
            pass  # the test is over

    def _answer(self, connection):
        unpacker = msgpack.Unpacker()
        while True:
            data = connection.recv(65536)
            if not data:
                return
            unpacker.feed(data)
            for message in unpacker:
                self.messages.put(message)
                if message[0] == 0:
                    self._reply(connection, message[1])

    def _reply(self, connection, number):
        reply = self.replies.get(timeout=DEADLINE_SECONDS)
        if isinstance(reply, bytes):
            connection.sendall(reply)
        elif isinstance(reply, ServiceError):
            connection.sendall(msgpack.packb([1, number, reply.text, None]))
        elif reply is not SILENCE:
            connection.sendall(msgpack.packb([1, number, None, reply]))
