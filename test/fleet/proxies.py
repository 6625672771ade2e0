# SPDX-License-Identifier: Apache-2.0
"""TCP proxies that cut the connections they carry."""

import select
import socket
import threading


class Cutter:
    """Passes connections on to a port; behind the first few cuts so many after
    so many bytes, both ways counted."""

    def __init__(self, port, after, times, skip=0):
        self.after = after
        self.left = times
        self.skip = skip
        self.cuts = 0
        self._target = port
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            try:
                client, _ = self._listener.accept()
            except OSError:
                return  # closed
            budget = None
            if self.skip > 0:
                self.skip -= 1
            elif self.left > 0:
                self.left -= 1
                budget = self.after
            threading.Thread(target=self._carry, args=(client, budget),
                             daemon=True).start()

    def _carry(self, client, budget):
        with client, socket.create_connection(
                ("127.0.0.1", self._target)) as server:
            pairs = {client: server, server: client}
            while True:
                for source in select.select(list(pairs), [], [])[0]:
                    data = source.recv(65536 if budget is None
                                       else min(65536, budget) or 1)
                    if not data:
                        return
                    if budget is not None and len(data) >= budget:
                        pairs[source].sendall(data[:budget])
                        self.cuts += 1
                        return
                    pairs[source].sendall(data)
                    if budget is not None:
                        budget -= len(data)

    def close(self):
        self._listener.close()
