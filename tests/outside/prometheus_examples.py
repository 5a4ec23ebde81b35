"""The Prometheus configurations of a document, each in a file of its own, for promtool.

  prometheus_examples.py DOCUMENT DIRECTORY

Prints one line per file: its path, and --agent for what is shown to be of an agent.
"""

import os
import re
import sys


def main(document, directory):
    with open(document, encoding="utf-8") as file:
        blocks = re.findall(r"^```yaml\n(.*?)^```", file.read(), re.M | re.S)
    for number, text in enumerate(blocks):
        if "scrape_configs:" not in text:
            continue
        path = os.path.join(directory, f"example{number}.yml")
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        print(path, *(["--agent"] if "--enable-feature=agent" in text else []))


main(*sys.argv[1:])
