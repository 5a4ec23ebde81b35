# Makes the tree of files that a list describes; the list itself says how.
import os

TOPS = ("proc/", "sys/", "etc/", "run/")


def write(root, path, text):
    place = os.path.join(root, path)
    os.makedirs(os.path.dirname(place), exist_ok=True)
    with open(place, "w") as file:
        file.write(text)


def link(root, path, target):
    place = os.path.join(root, path)
    os.makedirs(os.path.dirname(place), exist_ok=True)
    os.symlink(target, place)


def build(listing, root):
    path, lines = None, []

    def finish():
        if path:
            write(root, path, "".join(lines))

    with open(listing) as entries:
        for line in entries:
            if line.startswith("== "):
                finish()
                path, lines = line[3:].rstrip("\n"), []
            elif line.startswith(TOPS):
                finish()
                path, lines = None, []
                name, separator, value = line.rstrip("\n").partition(" -> " if " -> " in line else " =")
                link(root, name, value) if separator == " -> " else write(root, name, value[1:] + "\n")
            elif path:
                lines.append(line)
    finish()
