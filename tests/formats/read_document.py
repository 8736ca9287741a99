#!/usr/bin/env python3
"""Reads a stack document (docs/document-format.md) with the standard library alone and tells what is in it as JSON.

usage: read_document.py FILE
"""

import json
import re
import struct
import sys
import zipfile
import zlib
import xml.etree.ElementTree as ElementTree


def decode(text):
    """A name or an attribute text as it was before it was fitted into XML."""
    raw = re.sub(b"_x([0-9A-F]{2})?_", lambda m: bytes([int(m[1], 16)]) if m[1] else b"", text.encode())
    return raw.decode("utf-8", "surrogateescape")


def read_reference(reference, stream):
    offset, size, crc = reference.split(" ")
    data = stream[int(offset) : int(offset) + int(size)]
    if len(data) != int(size) or zlib.crc32(data) != int(crc, 16):
        sys.exit("a binary value is damaged")
    return data


class Document:
    def __init__(self, path):
        with zipfile.ZipFile(path) as archive:
            if archive.testzip() is not None:
                sys.exit("the archive is damaged")
            contents = ElementTree.fromstring(archive.read("contents.xml"))
            if contents.get("format").split(".")[0] != "1" or contents.get("kind") != "SliceStack":
                sys.exit("this is no stack document that is understood here")
            self.root = ElementTree.Element("Document")
            self.values = {}  # binary values and long texts by their tags
            for part in contents:
                text = archive.read(part.get("tree"))
                stream = archive.read(part.get("stream")) if part.get("stream") else b""
                tree = ElementTree.fromstring(text)
                self.check_contents(part, text, tree)
                for tag in tree.iter():
                    reference = tag.get("_bytes") or tag.get("_text")
                    if reference:
                        self.values[tag] = read_reference(reference, stream)
                self.append(self.root, tree)

    @staticmethod
    def check_contents(part, text, tree):
        """The contents list exactly the children of the root that begin in the part, with their places."""
        begun = [child for child in tree if not child.get("_continued")]
        if [child.tag for child in begun] != [listed.tag for listed in part]:
            sys.exit("the contents list other tags than there are")
        for listed in part:
            start = ("<" + listed.tag).encode()
            if text[int(listed.get("_offset")) :][: len(start)] != start:
                sys.exit("the contents tell a wrong place")
            height = listed.get("Height")
            if height is not None and b"<Height>" + height.encode() not in text[int(listed.get("_offset")) :][:40]:
                sys.exit("the contents tell a wrong height")

    def append(self, target, source):
        """Adds the tags of a part; those that are continued go on where the part before ended."""
        for child in source:
            if child.get("_continued"):
                self.append(target[-1], child)
            else:
                target.append(child)

    def text(self, tag):
        value = self.values.get(tag)
        return (tag.text or "").encode() if value is None else value

    def numbers(self, tag):
        data = self.values[tag]
        return struct.unpack("<%di" % (len(data) // 4), data)


def read_properties(document, tag, prefix=""):
    found = []
    for item in tag:
        name = prefix + document.text(item.find("Name")).decode("latin-1")
        kind = item.find("Type").text
        if kind == "properties":
            found += read_properties(document, item.find("Value"), name + "/")
        else:
            found.append([name, kind, document.text(item.find("Value")).decode("latin-1")])
    return found


def summarize(document):
    kinds = (("Border/Contour", "Points", 2), ("Vectors/VectorBlock", "Coordinates", 4),
             ("Points/PointBlock", "Coordinates", 2), ("Areas/Contour", "Points", 2))
    summary = {"elements": [0] * 4, "items": [0] * 4, "sums": [0] * 4, "flags": [0] * 2, "indices": 0}
    types = summary["types"] = {}
    heights = summary["heights"] = []
    for item in document.root.iter("Slice"):
        extent = item.find("AreaZ/TypeInfo")
        heights.append([int(item.find("Height").text), int(extent.find("Thickness").text)])
        heights[-1] += [extent.findtext(name, "Custom") for name in ("Type", "TypeEffective")]
        for kind, (path, coordinates, values_of_item) in enumerate(kinds):
            for element in item.findall(path):
                values = document.numbers(element.find(coordinates + "/Data"))
                count = int(element.find(coordinates + "/Count").text)
                if count * values_of_item != len(values):
                    sys.exit("a count does not fit its values")
                summary["elements"][kind] += 1
                summary["items"][kind] += count
                summary["sums"][kind] += sum((place % 7 + 1) * value for place, value in enumerate(values))
                summary["flags"][0] += int(element.findtext("Closed", "0"))
                summary["flags"][1] += int(element.findtext("Outer", "0"))

                record = element.find("VectorTypeInfo")
                name = document.text(record.find("VectorType")).decode("latin-1")
                types[name] = types.get(name, 0) + 1
                indices = {tag.tag: tag.text for tag in record if tag.tag.startswith("Index")}
                for tag in record.findall("Indices"):
                    indices = tag.attrib
                summary["indices"] += sum(int(value) * len(decode(name)) for name, value in indices.items())
    summary["properties"] = read_properties(document, document.root.find("Properties"))
    return summary


if __name__ == "__main__":
    print(json.dumps(summarize(Document(sys.argv[1])), sort_keys=True, separators=(",", ":")))
