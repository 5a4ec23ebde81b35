# Compares /metrics of `zel serve` with the page of `zel show` on this machine, family by family, and text files that
# other programs leave with what the peer makes of them.
#   metrics_served.py ZEL PEER
import os
import subprocess
import sys
import tempfile

import metric_text
import metrics_parity
import process_kit
import prometheus_kit

ACCEPTED = {"prometheus": "text/plain", "openmetrics": "application/openmetrics-text; version=1.0.0"}
TEXTFILE_FAMILIES = ("node_textfile_mtime_seconds", "node_textfile_scrape_error")
OF_HOST = ("node_", "zel_")
OF_PEER = ("node_", "go_", "process_", "promhttp_")
WRITTEN_AT = 1795000000
# Each is a case of the format: types, labels, times left out, values, escapes, families over two files.
FILES = {
    "backup.prom": """# HELP backup_bytes Size of the last backup.
# TYPE backup_bytes gauge
backup_bytes{of="etc"} 4.5e+06
backup_bytes{of="a \\"quoted\\" \\\\ name\\nof two lines"} -2
# TYPE backup_runs_total counter
backup_runs_total 17
no_header 3
""",
    "of_time.prom": """# HELP job_seconds How long a job took.
# TYPE job_seconds histogram
job_seconds_bucket{le="1"} 2
job_seconds_bucket{le="+Inf"} 5
job_seconds_sum 7.25
job_seconds_count 5
# HELP wait_seconds How long it waited.
# TYPE wait_seconds summary
wait_seconds{quantile="0.5"} 0.25
wait_seconds_sum 3
wait_seconds_count 4
""",
    "other.txt": "not_a_prom_file 1\n",
}
BROKEN = {"broken.prom": "# TYPE broken gauge\nbroken{ 1\n"}


def write(directory, files):
    for name, text in files.items():
        path = os.path.join(directory, name)
        with open(path, "w", encoding="ascii") as file:
            file.write(text)
        os.utime(path, (WRITTEN_AT, WRITTEN_AT))


def read(url, kind):
    return metric_text.read(prometheus_kit.fetch(url, ACCEPTED[kind]))


# In the text format 0.0.4, which is all that the peer writes of them.
def textfile_failures(served, peer):
    names = {name for name in peer if name in TEXTFILE_FAMILIES or not name.startswith(OF_PEER)}
    names |= {name for name in served if name in TEXTFILE_FAMILIES or not name.startswith(OF_HOST)}
    for name in sorted(names):
        ours, theirs = served.get(name), peer.get(name)
        if ours is None or theirs is None:
            yield f"{name} of a text file is {'the peer' if ours is None else 'ours'} only"
        elif (ours.kind, ours.series) != (theirs.kind, theirs.series):
            yield f"{name} of a text file is {ours.kind} {ours.series}, of the peer {theirs.kind} {theirs.series}"
    if len(names) < len(TEXTFILE_FAMILIES) + 4:
        yield f"only {sorted(names)} of text files were compared"


# Both have the same rights here: the same families.
def page_failures(served, shown):
    of_host = {name: family for name, family in served.items()
               if name.startswith(OF_HOST) and name not in TEXTFILE_FAMILIES}
    for name in sorted(of_host.keys() ^ shown.keys()):
        yield f"{name} is on the page of {'serve' if name in of_host else 'show'} only"
    for name in sorted(of_host.keys() & shown.keys()):
        if of_host[name].kind != shown[name].kind:
            yield f"{name} is {of_host[name].kind} on the page of serve, {shown[name].kind} on that of show"
    if len(shown) < metrics_parity.FLOORS["this machine"][1]:
        yield f"only {len(shown)} families were compared"


def main(zel, peer):
    failures = []
    with tempfile.TemporaryDirectory() as scratch:
        directory = os.path.join(scratch, "textfiles")
        os.mkdir(directory)
        write(directory, FILES)
        ours, theirs = f"127.0.0.1:{process_kit.free_port()}", f"127.0.0.1:{process_kit.free_port()}"
        programs = [
            prometheus_kit.Program("serve", [zel, "serve", "--listen", ours, "--metrics-textfile-directory", directory,
                                             "--config", "/dev/null"], f"http://{ours}/healthz", scratch),
            prometheus_kit.Program("peer", [peer, f"--web.listen-address={theirs}",
                                            f"--collector.textfile.directory={directory}"],
                                   f"http://{theirs}/", scratch),
        ]
        try:
            for program in programs:
                program.start()
            for kind in ACCEPTED:
                shown = metrics_parity.our_metrics(zel, "/", kind)
                failures += [f"{kind}: {text}" for text in page_failures(read(f"http://{ours}/metrics", kind), shown)]
            for more in ({}, BROKEN):
                write(directory, more)
                texts = prometheus_kit.eventually("a sample that is new", lambda: newer(ours, theirs, bool(more)))
                failures += textfile_failures(*texts)
        finally:
            for program in programs:
                program.stop()
    for failure in failures:
        print(f"metrics_served: {failure}", file=sys.stderr)
    print(f"metrics_served: {len(failures)} differences between serve, show and text files of the peer")
    return 1 if failures else 0


# Both pages, once ours is of a sample that has seen the files as they are.
def newer(ours, theirs, is_broken):
    served = read(f"http://{ours}/metrics", "prometheus")
    error = served["node_textfile_scrape_error"].series[frozenset()]
    return (served, read(f"http://{theirs}/metrics", "prometheus")) if error == is_broken else None


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
