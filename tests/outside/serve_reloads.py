"""zel serve through many reloads, from plain HTTP to TLS and back, with clients that stay connected.

  serve_reloads.py ZEL DIRECTORY
"""
import http.client
import os
import shutil
import signal
import ssl
import subprocess
import sys

import process_kit
import prometheus_kit

RELOADS = 12
KEPT = 3  # of the clients of earlier configurations, those of the last ones
PATIENCE = 30
EVENTS = 6
ENDLESS = 1000
LINES_OF_AN_EVENT = 4


class Service:
    def __init__(self, zel, directory):
        self.directory, self.port = directory, process_kit.free_port()
        self.config = os.path.join(directory, "reloads.toml")
        self.log = os.path.join(directory, "reloads.log")
        self.write(False)
        with open(self.log, "w", encoding="utf-8") as log:
            self.process = subprocess.Popen([zel, "serve", "--config", self.config], stderr=log)
        prometheus_kit.eventually("an answer", lambda: self.answers(False), PATIENCE)

    def write(self, is_tls):
        with open(self.config, "w", encoding="utf-8") as file:
            file.write(f'[serve]\nlisten = "127.0.0.1:{self.port}"\n')
            if is_tls:
                file.write(f'certificate = "{self.directory}/pem"\nkey = "{self.directory}/key"\n')

    def connect(self, is_tls):
        if not is_tls:
            return http.client.HTTPConnection("127.0.0.1", self.port, timeout=PATIENCE)
        context = ssl.create_default_context(cafile=f"{self.directory}/pem")
        return http.client.HTTPSConnection("localhost", self.port, timeout=PATIENCE, context=context)

    def answers(self, is_tls):
        client = self.connect(is_tls)
        try:
            return ask(client, "/healthz") == 200
        except (OSError, http.client.HTTPException):
            return False
        finally:
            client.close()

    def reload(self, is_tls):
        self.write(is_tls)
        self.process.send_signal(signal.SIGHUP)
        prometheus_kit.eventually(f"an answer with TLS: {is_tls}", lambda: self.answers(is_tls), PATIENCE)


def ask(client, path):
    client.request("GET", path)
    answer = client.getresponse()
    answer.read()
    return answer.status


def open_stream(client):
    client.request("GET", "/api/v1/stream?areas=load&every=500ms")
    answer = client.getresponse()
    assert answer.status == 200, answer.read()
    assert answer.readline()
    return answer


def has_ended(stream, events):
    """False when so many events have come."""
    try:
        for _ in range(events * LINES_OF_AN_EVENT):
            if not stream.readline():
                return True
    except (OSError, http.client.HTTPException):
        return True
    return False


def is_served(client):
    """False when the server has closed the connection; anything but a whole answer or a close is a failure."""
    try:
        assert ask(client, "/metrics") == 200
        return True
    except (ConnectionError, http.client.RemoteDisconnected, ssl.SSLEOFError):
        return False


def main(zel, directory):
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                    "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-days", "2", "-keyout",
                    f"{directory}/key", "-out", f"{directory}/pem"], check=True, stderr=subprocess.DEVNULL)
    os.chmod(f"{directory}/key", 0o600)
    service, clients, streams, is_tls = Service(zel, directory), [], [], False
    try:
        for number in range(RELOADS):
            client = service.connect(is_tls)
            assert ask(client, "/metrics") == 200
            clients.append(client)
            streams.append(open_stream(service.connect(is_tls)))
            is_tls = number % 2 == 0
            service.reload(is_tls)
            assert not service.answers(not is_tls), "the protection of before answers new clients"
            assert is_served(client), f"the client of before reload {number} was dropped"
        served = [is_served(client) for client in clients]
        assert served == [False] * (RELOADS - KEPT) + [True] * KEPT, served
        assert all(has_ended(stream, ENDLESS) for stream in streams[:-KEPT])
        assert not any(has_ended(stream, EVENTS) for stream in streams[-KEPT:])
        assert service.process.poll() is None
        with open(service.log, encoding="utf-8") as log:
            assert log.read().count("the configuration is taken") == RELOADS
        service.process.terminate()
        assert service.process.wait(PATIENCE) == 0
    finally:
        service.process.kill()
        service.process.wait()
    print(f"serve_reloads: {RELOADS} reloads with TLS and without, {KEPT} earlier ones keep their clients and streams")


if shutil.which("openssl"):
    main(*sys.argv[1:])
else:
    print("serve_reloads: nothing was tried, openssl is not installed")
