"""Names of metrics that rules and dashboards ask for and that no host has.

  metric_names.py SOURCE BUILD FILE...      .json is a dashboard, everything else are rules

A name exists when this host gives it, the host of the tests that has something of everything, or the schema (zel_...).
"""

import csv
import re
import subprocess
import sys
import tempfile

import dashboard
import listed_tree

OF_DATABASE = {"up", "scrape_duration_seconds", "scrape_samples_scraped"}
# Only the server has text files, and a mount has to hang.
SELDOM = {"node_textfile_scrape_error", "zel_stuck_mount_seconds"}


def tool(build, *arguments):
    return subprocess.run([f"{build}/bin/zel", *arguments], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                          check=False).stdout


def shown(build, *arguments):
    text = tool(build, "show", "--raw", "--format", "openmetrics", *arguments)
    return set(re.findall(r"^([A-Za-z_]\w*)[{ ]", text, re.M))


def known(source, build):
    with tempfile.TemporaryDirectory() as root:
        listed_tree.build(f"{source}/tests/fixtures/parity/host.files", root)
        names = shown(build) | shown(build, "--root", root)
    families = csv.DictReader(tool(build, "list", "--format", "csv").splitlines())
    names |= {f"zel_{row['section']}_{row['name']}" for row in families}
    return names | OF_DATABASE | SELDOM


def asked(path):
    if path.endswith(".json"):
        return set().union(*(dashboard.metrics_of(text) for _, text in dashboard.expressions(dashboard.load(path))))
    with open(path, encoding="utf-8") as file:
        rules = re.sub(r"#.*|^ *(record|summary):.*", "", file.read(), flags=re.M)
    return dashboard.metrics_of(re.sub(r"\binstance\w*:[\w:]+", "", rules))


def main():
    source, build, *paths = sys.argv[1:]
    names, status = known(source, build), 0
    for path in paths:
        wanted = asked(path)
        if len(wanted) < 10:
            print(f"{path}: only {len(wanted)} names were found", file=sys.stderr)
            status = 1
        for name in sorted(wanted - names):
            print(f"{path}: no host has {name}", file=sys.stderr)
            status = 1
    return status


if __name__ == "__main__":
    sys.exit(main())
