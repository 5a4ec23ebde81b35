"""A Grafana dashboard: its layout is checked, its expressions are printed as recording rules, for a parser of them.

  dashboard.py check FILE      says what is wrong with it
  dashboard.py rules FILE      its expressions as a file of rules
"""

import json
import re
import sys

VARIABLES = {"$job": "zel", "$instance": "localhost:9100", "$__rate_interval": "5m"}
# What an expression names, as against functions and labels.
METRIC = re.compile(r"\b(?:node|zel|scrape)_[A-Za-z0-9_]+\b|\bup\b")


def load(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def panels(dashboard):
    return [panel for panel in dashboard["panels"] if panel["type"] != "row"]


def expressions(dashboard, values=None):
    """(title of the panel, expression with the variables replaced) of every target."""
    found = []
    for panel in panels(dashboard):
        for target in panel["targets"]:
            text = target["expr"]
            for name, value in {**VARIABLES, **(values or {})}.items():
                text = text.replace(name, value)
            found.append((panel["title"], text))
    return found


def metrics_of(expression):
    """The names of metrics in an expression; what stands in quotes is a value of a label."""
    return set(METRIC.findall(re.sub(r'"[^"]*"', "", expression)))


def overlaps(one, other):
    a, b = one["gridPos"], other["gridPos"]
    return (a["x"] < b["x"] + b["w"] and b["x"] < a["x"] + a["w"]
            and a["y"] < b["y"] + b["h"] and b["y"] < a["y"] + a["h"])


def problems_of_panel(panel, sources):
    title = panel["title"]
    if not panel.get("description"):
        yield f"{title}: no description"
    if not panel["fieldConfig"]["defaults"].get("unit"):
        yield f"{title}: no unit"
    references = [target["refId"] for target in panel["targets"]]
    if len(references) != len(set(references)):
        yield f"{title}: two targets of one name"
    for target in panel["targets"]:
        if target["datasource"]["uid"] not in sources:
            yield f"{title}: a data source of its own"
        if "$job" not in target["expr"] or "$instance" not in target["expr"]:
            yield f"{title}: not only of the chosen host: {target['expr']}"
        unknown = set(re.findall(r"\$\w+", target["expr"])) - set(VARIABLES)
        if unknown:
            yield f"{title}: variables that nobody sets: {unknown}"
        if not metrics_of(target["expr"]):
            yield f"{title}: no metric in {target['expr']}"


def problems(dashboard):
    variables = {variable["name"] for variable in dashboard["templating"]["list"]}
    if not {"datasource", "job", "instance"} <= variables:
        yield f"variables are {variables}"
    if not dashboard.get("uid"):
        yield "no uid"
    identities = [panel["id"] for panel in dashboard["panels"]]
    if len(identities) != len(set(identities)):
        yield "two panels have one id"
    if len(panels(dashboard)) < 30:
        yield "hardly any panels"
    for number, panel in enumerate(dashboard["panels"]):
        if panel["gridPos"]["x"] + panel["gridPos"]["w"] > 24:
            yield f"{panel['title']}: wider than the page"
        for other in dashboard["panels"][:number]:
            if overlaps(panel, other):
                yield f"{panel['title']} lies over {other['title']}"
    for panel in panels(dashboard):
        yield from problems_of_panel(panel, {"${datasource}"})


def print_rules(dashboard):
    print("groups:\n- name: dashboard\n  rules:")
    for number, (_, text) in enumerate(expressions(dashboard)):
        print(f"  - record: expression_{number}\n    expr: {json.dumps(text)}")


def main():
    command, path = sys.argv[1:]
    dashboard = load(path)
    if command == "rules":
        print_rules(dashboard)
        return 0
    found = list(problems(dashboard))
    for problem in found:
        print(f"{path}: {problem}", file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
