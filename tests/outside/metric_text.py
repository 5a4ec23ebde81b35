# Reads metrics as text, in the Prometheus text format or in OpenMetrics, into families by the names of their series.
import re

LINE = re.compile(r"([a-zA-Z_:][a-zA-Z0-9_:]*)(?:\{(.*)\})? ([^ ]+)$")
LABEL = re.compile(r'([a-zA-Z_][a-zA-Z0-9_]*)="((?:[^"\\]|\\.)*)"(?:,|$)')
ESCAPES = {"\\\\": "\\", '\\"': '"', "\\n": "\n"}
# What OpenMetrics takes off the name of a family, and what it calls types.
SUFFIXES = {"counter": "_total", "info": "_info"}
TYPES = {"unknown": "untyped", "info": "gauge"}


class Family:
    def __init__(self, kind):
        self.kind = kind
        self.series = {}  # frozenset of (label, value) to number


def labels_of(text):
    labels = {}
    at = 0
    while at < len(text):
        found = LABEL.match(text, at)
        if not found:
            raise ValueError(f"not labels: {text}")
        if found[1] in labels:
            raise ValueError(f"a label twice: {text}")
        labels[found[1]] = re.sub(r"\\.", lambda part: ESCAPES[part[0]], found[2])
        at = found.end()
    # A label without a text is one that is not there, in the data model of either format.
    return frozenset((name, value) for name, value in labels.items() if value)


def read(text):
    families = {}
    open_metrics = text.endswith("# EOF\n")
    for line in text.splitlines():
        words = line.split(" ", 3)
        if line.startswith("# TYPE "):
            name, kind = words[2:]
            if open_metrics:
                name += SUFFIXES.get(kind, "")
            if name in families:
                raise ValueError(f"a family twice: {name}")
            families[name] = Family(TYPES.get(kind, kind))
        if line.startswith("#"):
            continue
        found = LINE.match(line)
        if not found:
            raise ValueError(f"not a series: {line}")
        name = found[1]
        for suffix in ("_sum", "_count", "_bucket"):
            if name not in families and name.endswith(suffix):
                name = name[:-len(suffix)]
        series = families[name].series
        labels = labels_of(found[2] or "") | ({("part", found[1])} if name != found[1] else frozenset())
        if labels in series:
            raise ValueError(f"a series twice: {line}")
        series[labels] = float(found[3])
    return {name: family for name, family in families.items() if family.series}
