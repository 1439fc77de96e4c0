#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Draws the pictures of the manual: docs/pictures/*.svg.

    manual/pictures.py --write    write them
    manual/pictures.py --check    exit 1 and name those that differ from what is drawn

Texts are measured: one that does not fit its place, or lies on another, is an error. The colours follow the reader's
choice of light or dark; in the manual the page's own colours replace them (manual.css).
"""
import argparse
import html
import pathlib
import sys

FOLDER = pathlib.Path(__file__).resolve().parent.parent / "docs" / "pictures"
LIGHT = {"ink": "#1d2b36", "soft": "#5b6b78", "line": "#8fa1af", "fill": "#f3f6f8", "card": "#ffffff",
         "blue": "#1c6ea4", "blue-fill": "#dcecf7", "green": "#2c7a44", "green-fill": "#dff2e4",
         "amber": "#9a5b00", "amber-fill": "#fbeacb", "red": "#b3352c", "red-fill": "#fae0dd"}
DARK = {"ink": "#e4ebf0", "soft": "#a7b6c2", "line": "#6a7b88", "fill": "#263038", "card": "#1d262d",
        "blue": "#7cc0ea", "blue-fill": "#1d3f55", "green": "#83d39c", "green-fill": "#1d4329",
        "amber": "#f0bd6b", "amber-fill": "#4a3611", "red": "#f29a92", "red-fill": "#55211d"}
SANS = "system-ui, 'Segoe UI', 'Noto Sans', 'DejaVu Sans', sans-serif"
MONO = "'JetBrains Mono', 'Cascadia Mono', 'DejaVu Sans Mono', monospace"
# Widths of the widest of these fonts, in parts of the size.
WIDE, NARROW, NORMAL, MONO_WIDTH = 0.86, 0.33, 0.60, 0.605


class Crowded(Exception):
    """A text that does not fit."""


def width_of(text, size, mono=False, bold=False):
    if mono:
        return len(text) * size * MONO_WIDTH
    units = sum(WIDE if c in "mwMWGOQ@%→" else NARROW if c in "iljtfrI.,:;'|!() " else
                0.70 if c.isupper() else NORMAL for c in text)
    return units * size * (1.08 if bold else 1.0)


class Picture:
    """A drawing of a given size, with a title and a description for those who do not see it."""

    def __init__(self, name, width, height, title, description):
        self.name, self.width, self.height = name, width, height
        self.title, self.description = title, description
        self.shapes = []
        self.texts = []  # their places: x0, y0, x1, y1, text

    def add(self, shape):
        self.shapes.append(shape)

    def box(self, x, y, width, height, colour="line", fill="card", dashed=False, round_by=7, stroke=1.5):
        dash = ' stroke-dasharray="5 4"' if dashed else ""
        self.add(f'<rect x="{x}" y="{y}" width="{width}" height="{height}" rx="{round_by}" fill="var(--{fill})" '
                 f'stroke="var(--{colour})" stroke-width="{stroke}"{dash}/>')

    def line(self, *points, colour="line", width=1.5, arrow=False, dashed=False):
        path = "M" + "L".join(f"{x} {y}" for x, y in points)
        end = f' marker-end="url(#{self.name}-{colour})"' if arrow else ""
        dash = ' stroke-dasharray="5 4"' if dashed else ""
        self.add(f'<path d="{path}" fill="none" stroke="var(--{colour})" stroke-width="{width}" '
                 f'stroke-linejoin="round"{dash}{end}/>')

    def dot(self, x, y, colour, radius=4):
        self.add(f'<circle cx="{x}" cy="{y}" r="{radius}" fill="var(--{colour})"/>')

    def text(self, x, y, text, size=14, colour="ink", anchor="start", bold=False, mono=False, room=None):
        """A line of text with its base line at y; `room` is the width that it may take."""
        width = width_of(text, size, mono, bold)
        if room is not None and width > room:
            raise Crowded(f"{self.name}: {text!r} takes {width:.0f} of {room:.0f}")
        left = {"start": x, "middle": x - width / 2, "end": x - width}[anchor]
        place = (left, y - size * 0.8, left + width, y + size * 0.22, text)
        if left < 0 or left + width > self.width or y > self.height:
            raise Crowded(f"{self.name}: {text!r} leaves the picture")
        for other in self.texts:
            if place[0] < other[2] and other[0] < place[2] and place[1] < other[3] and other[1] < place[3]:
                raise Crowded(f"{self.name}: {text!r} lies on {other[4]!r}")
        self.texts.append(place)
        font = MONO if mono else SANS
        weight = ' font-weight="600"' if bold else ""
        self.add(f'<text x="{x}" y="{y}" font-family="{font}" font-size="{size}"{weight} fill="var(--{colour})" '
                 f'text-anchor="{anchor}" xml:space="preserve">{html.escape(text, quote=False)}</text>')

    def lines(self, x, y, texts, size=14, step=None, **options):
        for i, text in enumerate(texts):
            self.text(x, y + i * (step or round(size * 1.35)), text, size, **options)

    def label(self, x, y, width, height, texts, colour="line", fill="card", size=14, bold_first=True, ink="ink",
              **options):
        """A box with centred lines of text."""
        self.box(x, y, width, height, colour, fill, **options)
        step = round(size * 1.35)
        top = y + height / 2 - (len(texts) - 1) * step / 2 + size * 0.35
        for i, text in enumerate(texts):
            first = i == 0 and bold_first
            self.text(x + width / 2, round(top + i * step, 1), text, size if first or not bold_first else size - 1,
                      ink if first or not bold_first else "soft", "middle", bold=first, room=width - 10)

    def svg(self):
        colours = [colour for colour in LIGHT if f"#{self.name}-{colour})" in "".join(self.shapes)]
        markers = "\n".join(
            f'<marker id="{self.name}-{colour}" viewBox="0 0 10 10" refX="9" refY="5" markerWidth="7" markerHeight="7" '
            f'orient="auto-start-reverse"><path d="M0 0.8L10 5L0 9.2z" fill="var(--{colour})"/></marker>'
            for colour in colours)

        def variables(palette):
            return "; ".join(f"--{name}: {value}" for name, value in palette.items())
        return "\n".join([
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {self.width} {self.height}" role="img" '
            f'aria-labelledby="{self.name}-title {self.name}-words">',
            f"<style>svg {{ {variables(LIGHT)} }} @media (prefers-color-scheme: dark) {{ svg {{ {variables(DARK)} }} }}"
            "</style>",
            f'<title id="{self.name}-title">{html.escape(self.title)}</title>',
            f'<desc id="{self.name}-words">{html.escape(self.description)}</desc>',
            f"<defs>\n{markers}\n</defs>" if markers else "<defs></defs>",
            *self.shapes, "</svg>", ""])


def rack():
    """The rack and its buses."""
    p = Picture("rack", 1000, 590, "A rack and its buses",
                "A host computer opens two buses. The first serves board 0, and board 1 which is reached over it; the "
                "second serves board 2. Modules are named by board, slot and the board that carries the slot.")
    p.box(20, 70, 190, 460, "line", "fill", round_by=10)
    p.text(115, 98, "Host computer", 16, anchor="middle", bold=True)
    p.label(38, 116, 154, 78, ["Program", "KVN_FPGA, kvn,", "your application"], size=15)
    p.label(38, 236, 154, 78, ["libkvn_fpga.so", "reads the file,", "sends the load"], size=15)
    p.label(38, 356, 154, 150, ["Provider", "the board maker's", "library: the sixteen", "Mw… functions"], "blue",
            "blue-fill", size=15)
    p.line((115, 194), (115, 234), arrow=True)
    p.line((115, 314), (115, 354), arrow=True)

    def board(y, name, note, slots, colour, rail):
        p.box(300, y, 640, 150, "line", "fill", round_by=10)
        p.text(318, y + 25, name, 15, bold=True)
        p.text(922, y + 25, note, 13, "soft", anchor="end")
        for i, (kind, detail, named) in enumerate(slots):
            x = 318 + i * 153
            empty = kind == "empty"
            has_bus = bool(named)
            p.box(x, y + 38, 145, 70, colour if has_bus else "line", f"{colour}-fill" if has_bus else "card",
                  dashed=empty)
            p.text(x + 10, y + 55, f"slot {i + 1}", 11.5, "soft")
            p.text(x + 72.5, y + 76, kind, 13, "soft" if not has_bus else "ink", "middle", bold=has_bus, room=137)
            if detail:
                p.text(x + 72.5, y + 95, detail, 12, "soft", "middle", mono=has_bus, room=137)
            if has_bus:
                p.line((x + 72.5, y + 108), (x + 72.5, rail), colour=colour, width=3)
                p.dot(x + 72.5, rail, colour, 5)
    fpga, io = "KAVRIN-FPGA", "KAVRIN-IO"
    board(20, "board mwc4a 0", "opened: its bus", [(fpga, "2v3000fg676-4", "0/1"), (fpga, "v300pq240-5", "0/2"),
                                                   ("processor", "answers nothing", ""), ("empty", "", "")], "blue", 146)
    board(220, "board mwc4a 1", "not opened: reached over the bus of board 0",
          [(fpga, "2vp30ff896-6", "0/1.1"), (io, "2s200fg456-5", "0/1.2"), ("empty", "", ""), ("empty", "", "")],
          "blue", 346)
    board(420, "board mwc4a 2", "opened: a bus of its own", [(fpga, "2v1000fg456-4", "2/1"), ("empty", "", ""),
                                                             ("empty", "", ""), ("empty", "", "")], "green", 546)
    # The rails: the bus of board 0 goes on to board 1.
    p.line((192, 400), (250, 400), (250, 146), (962, 146), (962, 346), (390.5, 346), colour="blue", width=3)
    p.line((192, 470), (250, 470), (250, 546), (390.5, 546), colour="green", width=3)
    for x, y, named, colour in ((318, 146, "mwc4a:0/1", "blue"), (471, 146, "mwc4a:0/2", "blue"),
                                (318, 346, "mwc4a:0/1.1", "blue"), (471, 346, "mwc4a:0/1.2", "blue"),
                                (318, 546, "mwc4a:2/1", "green")):
        p.text(x + 81, y - 7 + 21, named, 12.5, colour, mono=True, bold=True)
    return p


def exchange():
    """What is said on the bus."""
    p = Picture("exchange", 1000, 800, "The exchange on the bus",
                "The library asks the module for its type and, of newer modules, whether it takes compressed loads. It "
                "compares the devices, sends one message of command, board byte and configuration in pieces of eight "
                "bytes, ends it, and receives the status.")
    left, right = 330, 800
    p.label(left - 110, 16, 220, 50, ["Library", "through the provider"], "line", "fill", size=15)
    p.label(right - 110, 16, 220, 50, ["Module", "over the board's bus"], "line", "fill", size=15)
    p.line((left, 66), (left, 790), dashed=True)
    p.line((right, 66), (right, 790), dashed=True)

    def phase(y, height, title, *words):
        p.line((20, y), (980, y), width=1)
        p.text(20, y + 24, title, 15, bold=True, room=270)
        p.lines(20, y + 45, words, 12.5, colour="soft", room=282)

    def to_module(y, text, call, colour="blue"):
        p.text((left + right) / 2, y - 7, text, 13, anchor="middle", room=right - left - 20)
        p.line((left, y), (right - 2, y), colour=colour, width=2, arrow=True)
        p.text((left + right) / 2, y + 15, call, 11, "soft", "middle", mono=True, room=right - left - 10)

    def to_library(y, text, call, colour="green"):
        p.text((left + right) / 2, y - 7, text, 13, anchor="middle", room=right - left - 20)
        p.line((right, y), (left + 2, y), colour=colour, width=2, arrow=True)
        p.text((left + right) / 2, y + 15, call, 11, "soft", "middle", mono=True, room=right - left - 10)

    phase(84, 0, "Who are you?", "Type, model and version,", "name of the FPGA.")
    to_module(118, "message 1, no data", "MwKSBSendMessageEx")
    to_library(164, "message 2: the identification record", "MwKSBReceiveMessageEx")
    phase(196, 0, "Compressed loads?", "Only of modules that know", "the question.")
    to_module(230, "message 11, no data", "MwKSBSendMessageEx")
    to_library(276, "message 12: 1 means yes", "MwKSBReceiveMessageEx")
    phase(308, 0, "The right file?", "The part of the file is compared", "with the FPGA of the module.")
    p.label(left + 24, 344, 300, 38, ["another device: an error, nothing is sent"], "red", "red-fill", size=13,
            bold_first=False)
    p.line((left, 363), (left + 22, 363), colour="red", width=2, arrow=True)
    phase(410, 0, "The load", "One message, sent in pieces.", "A load that fails here leaves it",
          "open: the module has a part of", "the data, and does not run.")
    to_module(458, "start, to board and slot", "MwKSBStartSendMessageEx")
    to_module(504, "2 bytes: command, board number × 8 + 5", "MwKSBSendMessageDataEx")
    to_module(550, "8 bytes at a time: the configuration, or its runs", "MwKSBSendMessageDataEx, many times")
    to_module(596, "end: the module starts its FPGA", "MwKSBEndOfSendMessageEx")
    p.label(right + 16, 486, 164, 38, ["command 3: plain", "13: compressed"], "line", "fill", size=12.5,
            bold_first=False)
    p.label(right + 16, 532, 164, 38, ["the FPGA takes the", "bits as they come"], "line", "fill", size=12.5,
            bold_first=False)
    phase(628, 0, "The verdict", "The first byte decides.")
    to_library(662, "reply: type is the command + 1", "MwKSBStartReceiveMessageEx")
    to_library(708, "status and a zero byte", "MwKSBReceiveMessageDataEx")
    to_library(754, "end of the reply", "MwKSBEndOfReceiveMessageEx")
    p.label(20, 706, 240, 34, ["5: configured, the FPGA runs"], "green", "green-fill", size=13, bold_first=False)
    p.label(20, 748, 240, 34, ["any other: refused, error"], "red", "red-fill", size=13, bold_first=False)
    return p


def mcb():
    """The MCB file, byte by byte."""
    p = Picture("mcb", 1000, 560, "An MCB file byte by byte",
                "Two magic numbers of four bytes, the device in 255 bytes, the timestamp in 255 bytes, the byte count in "
                "four, then runs of a count byte and a value byte.")
    p.text(20, 30, "The header: 522 bytes, integers little-endian", 16, bold=True)
    fields = [("first magic", "number", 0, 4, 110, "amber"), ("second magic", "number", 4, 4, 120, "amber"),
              ("device", "text, padded with zeros", 8, 255, 270, "blue"),
              ("timestamp", "text, padded with zeros", 263, 255, 270, "green"),
              ("byte count", "expanded", 518, 4, 110, "amber"), ("runs", "pairs", 522, None, 80, "red")]
    x, places = 20, []
    for name, words, offset, size, width, colour in fields:
        width = width if name != "runs" else 980 - x
        p.box(x, 66, width, 66, colour, f"{colour}-fill", round_by=0)
        p.text(x + width / 2, 95, name, 14, anchor="middle", bold=True, room=width - 6)
        p.text(x + width / 2, 115, words, 11.5, "soft", "middle", room=width - 6)
        p.text(x + 2, 58, f"{offset}", 12, "soft", mono=True)
        p.text(x + width / 2, 152, f"{size} bytes" if size else "to the end", 12, "soft", "middle", room=width)
        places.append((x, width))
        x += width
    p.text(20, 200, "An example: the beginning, and bytes 512 to 543", 16, bold=True)
    p.text(980, 200, "offsets in hexadecimal", 12, "soft", "end")

    def row(y, offset, content, colours):
        p.text(20, y + 20, f"{offset:08x}", 13, "soft", mono=True)
        for i, value in enumerate(content):
            left = 112 + i * 54 + (6 if i >= 8 else 0)
            colour = colours[i]
            p.box(left, y, 48, 30, colour, f"{colour}-fill", round_by=4, stroke=1)
            p.text(left + 24, y + 20, f"{value:02x}", 14, anchor="middle", mono=True)
    row(216, 0, bytes.fromhex("7812440088017600" "3276343063733134"), ["amber"] * 8 + ["blue"] * 8)
    row(252, 16, bytes.fromhex("34000000000000000000000000000000"), ["blue"] * 16)
    p.text(112, 302, "…", 15, "soft")
    row(314, 0x200, bytes.fromhex("000000000000" "10000000" "04ff01550199"), ["green"] * 6 + ["amber"] * 4 + ["red"] * 6)
    row(350, 0x210, bytes.fromhex("01aa0166010c01000101018003000" "1e0"), ["red"] * 16)
    # What the fields say.
    p.label(20, 402, 300, 62, ["78 12 44 00 is 0x00441278", "88 01 76 00 is 0x00760188"], "amber", "amber-fill", size=13,
            bold_first=False)
    p.label(350, 402, 300, 62, ["32 76 34 30 … is \"2v40cs144\"", "then zeros to byte 262"], "blue", "blue-fill", size=13,
            bold_first=False)
    p.label(680, 402, 300, 62, ["10 00 00 00 is 16:", "the bytes after expansion"], "amber", "amber-fill", size=13,
            bold_first=False)
    p.box(20, 482, 960, 64, "red", "red-fill")
    p.text(36, 508, "04 ff", 14, mono=True, bold=True)
    p.text(92, 508, "four times FF", 13, "soft")
    p.text(250, 508, "01 55  01 99  01 aa  01 66", 14, mono=True, bold=True)
    p.text(492, 508, "55 99 AA 66, the synchronisation word", 13, "soft")
    p.text(36, 532, "A run is a count and a value: 16 bytes of configuration, first bit in bit 0, in the order in which "
                    "they go to the FPGA.", 13, room=930)
    return p


def life_of_a_run():
    """A run, from the plan to the records."""
    p = Picture("run", 1000, 640, "The life of a run",
                "A plan is read, rehearsed, and only without problems loaded, one worker for each bus at the same time. "
                "The journal gets a line before and after each module. Every module ends in one of five states.")
    lanes = [(60, 118, "Controller"), (186, 84, "Worker, bus 0"), (278, 84, "Worker, bus 2"), (370, 84, "Journal")]
    for y, height, name in lanes:
        p.box(20, y, 960, height, "line", "fill", round_by=8, stroke=1)
        p.text(34, y + 24, name, 14, bold=True, room=124)
    p.text(90, 40, "who", 13, "soft", "middle")
    for x, name in ((245, "plan"), (415, "rehearsal"), (660, "loads"), (890, "result")):
        p.text(x, 40, name, 13, "soft", "middle")
    p.label(170, 76, 150, 86, ["Read the plan", "every line;", "hash each file once"], size=14)
    p.label(340, 76, 150, 86, ["Rehearse", "files against", "modules"], "amber", "amber-fill", size=14)
    p.label(530, 76, 280, 86, ["Hand out the loads", "one after the other on a bus,", "all buses at once"], size=14)
    p.label(830, 76, 132, 86, ["Report", "verdicts,", "exit status"], "green", "green-fill", size=14)
    for x0, x1 in ((320, 338), (490, 528), (810, 828)):
        p.line((x0, 119), (x1, 119), arrow=True, width=2)
    p.label(340, 196, 150, 64, ["ask the modules", "nothing is sent"], size=13)
    p.label(340, 288, 150, 64, ["ask the modules", "nothing is sent"], size=13)
    for y, modules in ((196, ("load 0/1", "load 0/2", "load 0/1.2")), (288, ("load 2/1", "load 2/2"))):
        for i, module in enumerate(modules):
            p.label(536 + i * 94, y + 10, 80, 44, [module], "blue", "blue-fill", size=13, bold_first=False)
            if i:
                p.line((522 + i * 94, y + 32), (534 + i * 94, y + 32), arrow=True, colour="blue")
    p.label(340, 382, 150, 60, ["header, plan"], size=13, bold_first=False)
    p.label(536, 382, 268, 60, ["for each module two lines:", "begun … finished"], size=13, bold_first=False)
    p.label(830, 382, 132, 60, ["result"], size=13, bold_first=False)
    p.text(34, 414, "each line on disk", 12, "soft")
    p.text(34, 431, "before going on", 12, "soft")
    p.text(34, 126, "of the run", 12, "soft")
    p.text(34, 236, "one process", 12, "soft")
    p.text(34, 253, "for each bus", 12, "soft")
    p.line((415, 162), (415, 194), colour="amber", arrow=True, width=2)
    p.dot(509, 119, "red")
    p.line((509, 119), (509, 470), (415, 470), (415, 494), colour="red", width=2, arrow=True)
    p.label(270, 496, 290, 44, ["problems: all of them, status 10"], "red", "red-fill", size=13, bold_first=False)
    p.text(20, 574, "What a module holds afterwards", 15, bold=True)
    states = [("untouched", "what it held before", "line", "fill"), ("interrupted", "part of the data", "amber", "amber-fill"),
              ("refused", "all data, does not run", "red", "red-fill"), ("configured", "its FPGA runs", "green", "green-fill"),
              ("unknown", "never answered", "line", "card")]
    for i, (state, words, colour, fill) in enumerate(states):
        p.label(20 + i * 194, 586, 184, 48, [state, words], colour, fill, size=13.5, dashed=state == "unknown")
    return p


PICTURES = (rack, exchange, mcb, life_of_a_run)


def main():
    parser = argparse.ArgumentParser()
    what = parser.add_mutually_exclusive_group(required=True)
    what.add_argument("--write", action="store_true")
    what.add_argument("--check", action="store_true")
    arguments = parser.parse_args()
    differing = []
    for draw in PICTURES:
        picture = draw()
        path = FOLDER / f"{picture.name}.svg"
        if arguments.write:
            path.write_text(picture.svg(), encoding="utf-8")
        elif not path.exists() or path.read_text(encoding="utf-8") != picture.svg():
            differing.append(path.name)
    for name in differing:
        print(f"docs/pictures/{name} is not what is drawn; manual/pictures.py --write writes it", file=sys.stderr)
    return 1 if differing else 0


if __name__ == "__main__":
    sys.exit(main())
