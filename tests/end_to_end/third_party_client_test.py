"""A MessagePack-RPC client of another maker: the connection of python3-pynvim."""

import unittest

from pynvim.msgpack_rpc.async_session import AsyncSession
from pynvim.msgpack_rpc.event_loop import EventLoop
from pynvim.msgpack_rpc.msgpack_stream import MsgpackStream
from pynvim.msgpack_rpc.session import Session

from navigation_service import PORT, Simulator


class ThirdPartyClient(unittest.TestCase):
    def setUp(self):
        self.simulator = Simulator("--speed", "2")
        self.addCleanup(self.simulator.__exit__)
        self.client = Session(
            AsyncSession(MsgpackStream(EventLoop("tcp", "127.0.0.1", PORT))))
        self.addCleanup(self.client.close)

    def test_gets_the_implement_width(self):
        self.assertEqual(1, self.client.request("SetImplementWidth", 1, 7.5))
        self.assertEqual(7.5, self.client.request("GetImplementWidth", 1))

    def test_gets_an_error_as_an_error(self):
        self.client.error_wrapper = RuntimeError
        with self.assertRaisesRegex(RuntimeError,
                                    r"^GetImplementWidth wants \[int\], not \[text\]$"):
            self.client.request("GetImplementWidth", "wide")

    def test_receives_the_guidance_status(self):
        self.client.request("subscribe", "cb_guidance_status", async_=True)
        payloads = []
        while len(payloads) < 5:
            kind, name, payload = self.client.next_message()
            self.assertEqual(("notification", "cb_guidance_status"), (kind, name))
            payloads.append(payload)
        for payload in payloads:
            self.assertEqual([int, float, float, float], [type(value) for value in payload])


if __name__ == "__main__":
    unittest.main()
