#!/usr/bin/env python3
"""Writes a newsletter grown to about MB megabytes: the head of a corpus
newsletter, then its body's content repeated, for comparing plain-text
converters on one very large message.

usage: bench/grown_newsletter.py SOURCE.html MB OUT.html
"""
import re
import sys


def main() -> int:
    if len(sys.argv) != 4:
        print(__doc__, file=sys.stderr)
        return 2
    source, megabytes, out = sys.argv[1], float(sys.argv[2]), sys.argv[3]
    html = open(source, encoding="utf-8").read()
    body = re.search(r"<body[^>]*>(.*)</body>", html, re.S | re.I)
    if not body:
        print(f"{source}: no body", file=sys.stderr)
        return 1
    head, content = html[: body.start(1)], body.group(1)
    copies = max(1, int(megabytes * 1e6 / len(content)))
    with open(out, "w", encoding="utf-8") as f:
        f.write(head)
        for _ in range(copies):
            f.write(content)
        f.write("</body></html>\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
