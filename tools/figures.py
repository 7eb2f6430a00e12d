#!/usr/bin/env python3
"""Draws the figures of the documentation, as SVG files in doc/images.

    tools/figures.py            writes them
    tools/figures.py --check    ends with 1 when one of them is not what would be written

ladder.svg: the matches of the table in doc/strength.md against packaged engines, in their order, with the
error bars. architecture.svg: the folders in layers, each above those that it includes.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
IMAGES = ROOT / "doc" / "images"
COLOURS = ["#1b6ca8", "#c0392b", "#2e8b57", "#8e5ea2", "#d08a1d", "#444444"]


def text(x, y, words, anchor="start", size=13, extra=""):
    return f'<text x="{x:.0f}" y="{y:.0f}" text-anchor="{anchor}" font-size="{size}"{extra}>{words}</text>'


def line(x1, y1, x2, y2, colour="#999", width=1.0, extra=""):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}" stroke-width="{width}"{extra}/>'


def picture(width, height, title, parts):
    head = (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" height="{height}" '
            f'font-family="sans-serif" role="img"><title>{title}</title>')
    return "\n".join([head, f'<rect width="{width}" height="{height}" fill="white"/>', *parts, "</svg>", ""])


# ---- The ladder ---------------------------------------------------------------------------------


def matches():
    """(commit, opponent, limit, games, elo, error) of each match against another program."""
    rows = []
    for row in (ROOT / "doc" / "strength.md").read_text().splitlines():
        cells = [cell.strip() for cell in row.split("|")[1:-1]]
        if len(cells) != 11 or not re.fullmatch(r"\d{4}-\d\d-\d\d", cells[0]):
            continue
        elo = re.fullmatch(r"([+-]\d+) \+-(\d+)", cells[9])
        if elo and not re.fullmatch(r"[0-9a-f]{8,}\+?", cells[2]):
            rows.append((cells[1][:7], cells[2], cells[3], int(cells[4]), int(elo[1]), int(elo[2])))
    return rows


def ladder():
    rows = matches()
    opponents = list(dict.fromkeys(row[1] for row in rows))
    left, top, step, height = 60, 46, 42, 330
    low, high = -500, 650
    width = left + step * len(rows) + 190

    def y(elo):
        return top + height * (high - elo) / (high - low)

    parts = [text(left, 24, "Elo of Corvantis less its opponent's, in the order of the matches, with 95 % error bars", size=15)]
    for elo in range(-400, high, 200):
        parts += [line(left, y(elo), left + step * len(rows), y(elo), "#555" if elo == 0 else "#ddd"),
                  text(left - 8, y(elo) + 4, f"{elo:+d}" if elo else "0", "end")]
    for i, (commit, opponent, _, games, elo, error) in enumerate(rows):
        x, colour = left + step * (i + 0.5), COLOURS[opponents.index(opponent) % len(COLOURS)]
        parts += [line(x, y(elo - error), x, y(elo + error), colour, 1.5),
                  f'<circle cx="{x:.1f}" cy="{y(elo):.1f}" r="{2.5 + games ** 0.5 / 5:.1f}" fill="{colour}"/>',
                  text(x + 4, top + height + 12, commit, "end", 11,
                       f' transform="rotate(-45 {x + 4:.0f} {top + height + 12:.0f})"')]
    for i, opponent in enumerate(opponents):
        x = left + step * len(rows) + 18
        parts += [f'<circle cx="{x}" cy="{top + 20 * i + 4}" r="5" fill="{COLOURS[i % len(COLOURS)]}"/>',
                  text(x + 12, top + 20 * i + 8, opponent)]
    x = left + step * len(rows) + 18
    parts.append(text(x, top + 20 * len(opponents) + 18, "larger: more games", size=11))
    return picture(width, top + height + 62, "Ladder of matches", parts)


# ---- The architecture ---------------------------------------------------------------------------

# From the top: a folder includes only folders of lower layers (or itself).
LAYERS = [["tools", "tests"], ["driver"], ["search"], ["eval", "book", "tablebases"], ["board"]]
TOPICS = {
    "tools": "makers of books and tables, tuning, matches", "tests": "units, dialogues, fuzzers, faults",
    "driver": "start, input, xboard, UCI, console, results", "search": "iterations, nodes, quiescence, table, time",
    "eval": "evaluation, parameters", "book": "opening book, learning", "tablebases": "files, index, generator",
    "board": "position, moves, attacks, notation, output",
}


def includes():
    """{folder: folders that its files include}"""
    used = {}
    for folder in TOPICS:
        used[folder] = set()
        for file in sorted((ROOT / folder).rglob("*")):
            if file.suffix not in (".h", ".cpp"):
                continue
            source = file.read_text()
            used[folder] |= {name for name in re.findall(r'^#include "(\w+)/', source, re.M) if name in TOPICS}
        used[folder].discard(folder)
    return used


def architecture():
    used = includes()
    width, box, gap, layer = 720, 46, 34, 80
    middle, rank, parts, arrows = {}, {}, [], []
    for depth, folders in enumerate(LAYERS):
        each = (width - 40 - gap * (len(folders) - 1)) / len(folders)
        for i, folder in enumerate(folders):
            x, y = 20 + i * (each + gap), 56 + depth * layer
            middle[folder], rank[folder] = x + each / 2, depth
            parts += [f'<rect x="{x:.0f}" y="{y}" width="{each:.0f}" height="{box}" rx="6" fill="#eef3f8" stroke="#1b6ca8"/>',
                      text(x + each / 2, y + 20, f"{folder}/", "middle", 15, ' font-weight="bold"'),
                      text(x + each / 2, y + 37, TOPICS[folder], "middle", 11)]
    for folder, others in used.items():
        for other in sorted(others):
            if rank[other] <= rank[folder]:
                if {folder, other} != {"tools", "tests"}:
                    raise SystemExit(f"{folder} includes {other}, which the layers forbid")
                continue
            # Only to the next layer; what lies deeper is included by way of it or directly.
            if rank[other] == rank[folder] + 1:
                narrow = folder if len(LAYERS[rank[folder]]) > len(LAYERS[rank[other]]) else other
                arrows.append(line(middle[narrow], 56 + rank[folder] * layer + box, middle[narrow], 56 + rank[other] * layer - 2,
                                   "#555", 1.2, ' marker-end="url(#tip)"'))
    tip = ('<defs><marker id="tip" markerWidth="8" markerHeight="8" refX="6" refY="4" orient="auto">'
           '<path d="M0,0 L8,4 L0,8 z" fill="#555"/></marker></defs>')
    parts.append(text(20, 30, "Includes go downwards only; every layer knows all those below it", size=15))
    return picture(width, 56 + len(LAYERS) * layer, "Folders in layers", [tip, *arrows, *parts])


def main():
    check = sys.argv[1:] == ["--check"]
    if sys.argv[1:] and not check:
        sys.exit(__doc__)
    stale = []
    for name, content in (("ladder.svg", ladder()), ("architecture.svg", architecture())):
        file = IMAGES / name
        if check and (not file.exists() or file.read_text() != content):
            stale.append(name)
        elif not check:
            IMAGES.mkdir(exist_ok=True)
            file.write_text(content)
    if stale:
        sys.exit(f"not as tools/figures.py draws it: {', '.join(stale)}")


main()
