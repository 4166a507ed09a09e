"""A process that paints jobs for another. They arrive as JSON on a socket whose number is the argument; painted maps go
back as memory files, outcomes as JSON. Nothing that arrives is code.
"""

from __future__ import annotations

import json
import os
import signal
import socket
import struct
import sys
from typing import Any, List, Optional, Sequence, Tuple

_HEADER = struct.Struct("<Q")


def send(channel: socket.socket, message: Any, files: Sequence[int] = ()) -> None:
    data = json.dumps(message).encode()
    header = _HEADER.pack(len(data))
    if files:
        socket.send_fds(channel, [header], files)
    else:
        channel.sendall(header)
    channel.sendall(data)


def receive(channel: socket.socket) -> Tuple[Optional[Any], List[int]]:
    """The next message and the files that came with it; None when the other side is gone."""
    header, files, _, _ = socket.recv_fds(channel, _HEADER.size, 1)
    try:
        while header and len(header) < _HEADER.size:
            more = channel.recv(_HEADER.size - len(header))
            if not more:
                return None, files
            header += more
        if not header:
            return None, files
        (size,) = _HEADER.unpack(header)
        data = bytearray()
        while len(data) < size:
            more = channel.recv(min(size - len(data), 1 << 20))
            if not more:
                return None, files
            data += more
        return json.loads(bytes(data)), files
    except BaseException:
        for file in files:
            os.close(file)
        raise


def _memory_file(light) -> int:
    file = os.memfd_create("orvhdri map", os.MFD_CLOEXEC)
    rest = memoryview(light).cast("B")
    while rest:
        rest = rest[os.write(file, rest) :]
    return file


def serve(channel: socket.socket) -> None:
    from . import _core
    from .errors import Error

    call, _ = receive(channel)
    if call is None:
        return
    try:
        session = _core.PaintSession(call["threads"], call["painter"], call["max_image_pixels"], True)
    except (Error, MemoryError) as error:
        send(channel, {"cannot_start": str(error), "kind": type(error).__name__})
        return
    send(channel, {"version": _core.__version__})
    while True:
        line, _ = receive(channel)
        if line is None:
            return
        try:
            outcome = session.paint_job(_core.Job(line, "job"), call["keywords"], call["measure"])
        except (Error, ValueError, TypeError, MemoryError) as error:
            outcome = {"status": "failed", "error": str(error), "seconds": 0, "messages": []}
        light = outcome.pop("map", None)
        if light is None:
            send(channel, outcome)
            continue
        file = _memory_file(light)
        outcome["shape"] = light.shape
        send(channel, outcome, [file])
        os.close(file)


def main() -> None:
    # Who started this process ends it.
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    with socket.socket(fileno=int(sys.argv[1])) as channel:
        try:
            serve(channel)
        except (BrokenPipeError, ConnectionResetError):
            pass


if __name__ == "__main__":
    main()
