#!/usr/bin/env python3
"""Writes org.vkkrnx.Constants from the public headers, so that both always say the same: constants.py <headers> <output>."""
import pathlib
import re
import sys

# The headers whose families Java reaches, in the order of the class.
FAMILIES = """record dib colorres dither resize rotate combine fill warp region window overlay display yuv list
              geometry""".split()
# What has no use in Java, or is a mask of bits.
LEFT_OUT = re.compile(r".*_MASK$|COMBINE_OPERATIONS$|BLEND_MODES$|SUCCESS_|BITMAPFLAG_NOCLIP$|OVERLAY_(COPY|MOVE)$")
DEFINITION = re.compile(r"^#define (\w+)[ \t]+\(?(-?(?:0x[0-9A-Fa-f]+|\d+))u?\)?[ \t]*(?:/\*\*<\s*(.*?)\s*\*/)?[ \t]*$",
                        re.M | re.S)


def constants(header):
    """The numbers of a header as (name, value, text); a V_ in front of a name is for C alone."""
    source = header.read_text().replace("\\\n", " ")
    return {(name.removeprefix("V_"), value, " ".join((text or "").split())): None
            for name, value, text in DEFINITION.findall(source)}


def comment(name, text):
    text = text or name.partition("_")[2].replace("_", " ").lower() or name.lower()
    text = text.replace("&", "&amp;").replace("<", "&lt;").replace("{", "&#123;")
    return f"{text[0].upper()}{text[1:]}{'' if text.endswith('.') else '.'}"


def main():
    folder, output = map(pathlib.Path, sys.argv[1:])
    lines = ["// Made by constants.py from the public headers.", "package org.vkkrnx;", "",
             "/** The constants of the library, by the names that they have in C. */",
             "public final class Constants {", "    private Constants() {}"]
    for family in FAMILIES:
        for name, value, text in constants(folder / f"Vk{family}.h"):
            if not LEFT_OUT.match(name):
                lines += ["", f"    /** {comment(name, text)} */", f"    public static final int {name} = {value};"]
    output.parent.mkdir(parents=True, exist_ok=True)
    output.write_text("\n".join(lines + ["}", ""]))


if __name__ == "__main__":
    main()
