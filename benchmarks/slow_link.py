"""A link to somewhere far away, as a proxy on loopback: bytes take their time, all connections share one rate, and each
connection has to find out how much may be under way, as TCP does over such a link (RFC 5681)."""

import asyncio
import contextlib
import socket
import threading
import time
from urllib.parse import urlsplit

PIECE = 16 * 1024
SEGMENT = 1448
FIRST_WINDOW = 10 * SEGMENT  # RFC 6928
LARGEST_WINDOW = 4 << 20  # what Linux lets a socket's buffers grow to
IDLE_SECONDS = 0.2  # about a retransmission timeout: then a window starts anew
KERNEL_BUFFER = 64 * 1024  # small, so that what has been read is under way rather than waiting


class Lane:
    """One direction of the link: when the last of some bytes comes out of its other end."""

    def __init__(self, bytes_per_second, delay_seconds):
        self._rate, self._delay, self._free_at = bytes_per_second, delay_seconds, 0.0
        self.carried = 0

    def arrival(self, count, now):
        self.carried += count
        self._free_at = max(now, self._free_at) + count / self._rate
        return self._free_at + self._delay


class Window:
    """How much of one connection may be under way in one direction. It starts small and grows by what is acknowledged;
    nothing is ever lost here, so it never shrinks but after a rest."""

    def __init__(self):
        self._size, self._under_way, self._last = FIRST_WINDOW, 0, 0.0

    def room(self, now):
        if self._under_way == 0 and now - self._last > IDLE_SECONDS:
            self._size = FIRST_WINDOW
        return max(0, self._size - self._under_way)

    def sent(self, count, now):
        self._under_way += count
        self._last = now

    def acknowledged(self, count, now):
        self._under_way -= count
        self._size = min(LARGEST_WINDOW, self._size + count)
        self._last = now


class Pipe:
    """One direction of one connection."""

    def __init__(self, lane, round_trip, opened_at):
        self._lane, self._round_trip, self._opened_at = lane, round_trip, opened_at
        self._window, self._changed = Window(), asyncio.Event()

    async def carry(self, reader, writer):
        """From end to end, until the one end says no more."""
        arrivals = asyncio.Queue()
        delivery = asyncio.create_task(self._deliver(arrivals, writer))
        try:
            while piece := await reader.read(await self._room()):
                now = time.monotonic()
                self._window.sent(len(piece), now)
                # The connection itself takes a round trip; here it was there at once.
                arrivals.put_nowait((self._lane.arrival(len(piece), max(now, self._opened_at + self._round_trip)), piece))
        except OSError:
            pass  # as if it had ended
        arrivals.put_nowait(None)
        await delivery

    async def _room(self):
        while not (room := self._window.room(time.monotonic())):
            self._changed.clear()
            await self._changed.wait()
        return min(PIECE, room)

    async def _deliver(self, arrivals, writer):
        with contextlib.suppress(OSError):  # whoever is gone takes no more
            while arrived := await arrivals.get():
                at, piece = arrived
                await asyncio.sleep(max(0.0, at - time.monotonic()))
                writer.write(piece)
                await writer.drain()
                asyncio.get_running_loop().call_later(self._round_trip / 2, self._acknowledge, len(piece))
            writer.write_eof()

    def _acknowledge(self, count):
        self._window.acknowledged(count, time.monotonic())
        self._changed.set()


class SlowLink:
    """Listens while it is entered and gives the address under which `address` is then reached."""

    def __init__(self, address, round_trip_seconds, bits_per_second):
        self._server = urlsplit(address)
        self._round_trip = round_trip_seconds
        self._lanes = [Lane(bits_per_second / 8, round_trip_seconds / 2) for _ in range(2)]
        self._loop = asyncio.new_event_loop()
        self._thread = threading.Thread(target=self._loop.run_forever)

    @property
    def carried_there(self):
        """Bytes that went to the server so far."""
        return self._lanes[0].carried

    async def _connected(self, reader, writer):
        try:
            far_reader, far_writer = await asyncio.open_connection(self._server.hostname, self._server.port, limit=PIECE)
        except ConnectionError:
            writer.close()
            return
        there, back = (Pipe(lane, self._round_trip, time.monotonic()) for lane in self._lanes)
        try:
            await asyncio.gather(there.carry(reader, far_writer), back.carry(far_reader, writer))
        except asyncio.CancelledError:
            pass  # the end of the link; the stream that called this would tell of it
        finally:
            for end in (writer, far_writer):
                end.close()

    def __enter__(self):
        self._thread.start()
        listening = asyncio.start_server(self._connected, "127.0.0.1", 0, limit=PIECE)
        self._listener = asyncio.run_coroutine_threadsafe(listening, self._loop).result()
        for listener in self._listener.sockets:
            listener.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, KERNEL_BUFFER)
        return f"http://127.0.0.1:{self._listener.sockets[0].getsockname()[1]}"

    def __exit__(self, *_):
        asyncio.run_coroutine_threadsafe(self._end(), self._loop).result()
        self._loop.call_soon_threadsafe(self._loop.stop)
        self._thread.join()
        self._loop.close()

    async def _end(self):
        self._listener.close()
        open_ones = asyncio.all_tasks() - {asyncio.current_task()}
        for task in open_ones:
            task.cancel()
        await asyncio.gather(*open_ones, return_exceptions=True)
