#!/usr/bin/env python3
"""Serves a folder on localhost: serve.py FOLDER [PORT] [--plain]. The headers isolate the page, so
that it may share memory with its audio thread; --plain leaves them out, as most static servers do."""

import functools
import http.server
import sys


class Handler(http.server.SimpleHTTPRequestHandler):
    isolated = True

    def end_headers(self):
        if self.isolated:
            self.send_header("Cross-Origin-Opener-Policy", "same-origin")
            self.send_header("Cross-Origin-Embedder-Policy", "require-corp")
        self.send_header("Cache-Control", "no-cache")
        super().end_headers()

    def log_message(self, *_):
        pass


def main():
    words = [word for word in sys.argv[1:] if word != "--plain"]
    Handler.isolated = "--plain" not in sys.argv
    port = int(words[1]) if len(words) > 1 else 8080
    handler = functools.partial(Handler, directory=words[0])
    with http.server.ThreadingHTTPServer(("127.0.0.1", port), handler) as server:
        print(f"http://localhost:{server.server_address[1]}/", flush=True)
        try:
            server.serve_forever()
        except KeyboardInterrupt:
            pass


if __name__ == "__main__":
    main()
