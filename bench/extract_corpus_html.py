#!/usr/bin/env python3
"""Collects the HTML documents the parse benchmark reads.

Walks a mail corpus folder: .html/.htm files are copied as they are; every
other file that reads as an RFC 822 message gives each of its text/html parts,
decoded from the part's charset and written as UTF-8 (parts that do not decode
are skipped). A document met twice is written once: one test message nests
the same part thousands of times and would otherwise be most of the corpus.
Also writes a synthetic newsletter mail of about 5 MB, and for the CSS
inlining benchmark the documents that carry a head style sheet and a 2 MB
newsletter with a style sheet of the kind newsletter templates have.

Output:  OUT/corpus/NNNN-<source>.html   one file per document
         OUT/synthetic-newsletter.html   the large document
         OUT/head-styled/NNNN-<source>.html   the documents with a <style>
                                         before their <body> (or no <body> tag)
         OUT/styled-newsletter.html      the 2 MB newsletter with its style sheet
"""

import argparse
import email
import email.policy
import hashlib
import os
import random
import sys
from pathlib import Path

HTML_SUFFIXES = {".html", ".htm"}
# A file is taken for a message only if it starts with headers like these:
# anything parses as "a message with no headers", which says nothing.
MESSAGE_HEADERS = {"from", "to", "subject", "date", "received", "message-id", "mime-version", "content-type"}
SYNTHETIC_SIZE = 5 * 1024 * 1024
STYLED_SIZE = 2 * 1024 * 1024


def html_parts(raw: bytes):
    """The text/html parts of `raw` as str, or nothing when it is no message."""
    message = email.message_from_bytes(raw, policy=email.policy.default)
    if not MESSAGE_HEADERS & {key.lower() for key in message.keys()}:
        return
    for part in message.walk():
        if part.get_content_type() != "text/html":
            continue
        payload = part.get_payload(decode=True)
        if not payload:
            continue
        # Undeclared is taken as UTF-8, which also reads the ASCII the RFCs default to.
        charset = part.get_content_charset() or "utf-8"
        try:
            yield payload.decode(charset)
        except (LookupError, UnicodeDecodeError):
            continue


def safe_name(relative: Path) -> str:
    name = "_".join(relative.parts)
    return "".join(c if c.isalnum() or c in "-_." else "_" for c in name)[:120]


def documents_in(corpus: Path):
    """(source path relative to corpus, bytes) for each HTML document."""
    for path in sorted(p for p in corpus.rglob("*") if p.is_file()):
        relative = path.relative_to(corpus)
        if path.suffix.lower() in HTML_SUFFIXES:
            yield relative, path.read_bytes()
            continue
        try:
            parts = list(html_parts(path.read_bytes()))
        except Exception:  # the email package raises on a few malformed messages
            continue
        for index, html in enumerate(parts):
            yield relative.with_name(f"{relative.name}.part{index}.html"), html.encode("utf-8")


def has_head_style(data: bytes) -> bool:
    """Whether a <style> comes before the <body> tag, or there is none: where
    the HTML parser puts a style element in the head, short of a parse."""
    text = data.lower()
    style, body = text.find(b"<style"), text.find(b"<body")
    return style >= 0 and (body < 0 or style < body)


def extract(corpus: Path, out: Path) -> tuple[int, int, int]:
    documents = out / "corpus"
    styled = out / "head-styled"
    documents.mkdir(parents=True, exist_ok=True)
    styled.mkdir(parents=True, exist_ok=True)
    seen = set()
    count = total = duplicates = 0
    for relative, data in documents_in(corpus):
        digest = hashlib.sha256(data).digest()
        if digest in seen:
            duplicates += 1
            continue
        seen.add(digest)
        name = f"{count:04d}-{safe_name(relative)}"
        (documents / name).write_bytes(data)
        if has_head_style(data):
            (styled / name).write_bytes(data)
        count += 1
        total += len(data)
    return count, total, duplicates


# The synthetic mail: a newsletter digest followed by a long reply thread, the
# shapes mail HTML is made of (layout tables three deep, inline styles,
# tracking links, entities, conditional comments, nested quotations).

WORDS = ("the quarterly update team project release customer schedule meeting budget design review "
         "proposal report launch feedback partner market growth office travel invoice contract "
         "support service feature plan roadmap survey results summary agenda notes").split()
ENTITIES = ["&amp;", "&nbsp;", "&copy;", "&mdash;", "&#8217;", "&#x2014;", "&eacute;", "&lt;", "&gt;", "&quot;",
            "&euro;", "&hellip;"]
COLORS = ["#333333", "#0a66c2", "#555555", "#e94e1b", "#1a1a1a", "#f4f4f4", "#ffffff"]


def sentence(rng: random.Random) -> str:
    words = [rng.choice(WORDS) for _ in range(rng.randint(6, 18))]
    if rng.random() < 0.4:
        words.insert(rng.randrange(len(words)), rng.choice(ENTITIES))
    if rng.random() < 0.3:
        i = rng.randrange(len(words))
        words[i] = f'<a href="https://news.example.com/r/{rng.getrandbits(48):x}?utm_source=mail&amp;utm_medium=email&amp;id={i}" style="color:{rng.choice(COLORS)};text-decoration:underline">{words[i]}</a>'
    if rng.random() < 0.2:
        i = rng.randrange(len(words))
        words[i] = f"<strong>{words[i]}</strong>"
    text = " ".join(words)
    return text[0].upper() + text[1:] + "."


def article(rng: random.Random) -> str:
    paragraphs = "".join(
        f'<p style="margin:0 0 12px 0;font-family:Helvetica,Arial,sans-serif;font-size:15px;line-height:22px;color:{rng.choice(COLORS)}">'
        + " ".join(sentence(rng) for _ in range(rng.randint(2, 5))) + "</p>\n"
        for _ in range(rng.randint(1, 3)))
    image = (f'<img src="https://cdn.example.com/img/{rng.getrandbits(32):x}.jpg" width="560" height="{rng.randint(120, 320)}" '
             f'alt="{rng.choice(WORDS)} {rng.choice(WORDS)}" style="display:block;border:0;width:100%;height:auto">')
    return f"""<table role="presentation" width="100%" cellpadding="0" cellspacing="0" border="0" style="background:#ffffff">
<tr><td style="padding:24px 32px 8px 32px">
<table role="presentation" width="100%" cellpadding="0" cellspacing="0" border="0"><tr>
<td class="col" width="50%" valign="top" style="padding-right:12px">{image}</td>
<td class="col" width="50%" valign="top" style="padding-left:12px">
<h2 style="margin:0 0 8px 0;font-family:Georgia,serif;font-size:22px;color:#1a1a1a">{sentence(rng)[:-1]}</h2>
{paragraphs}<table role="presentation" cellpadding="0" cellspacing="0" border="0"><tr>
<td bgcolor="#0a66c2" style="border-radius:4px"><a href="https://news.example.com/read/{rng.getrandbits(40):x}" style="display:inline-block;padding:10px 18px;color:#ffffff;font-weight:bold;text-decoration:none">Read more&nbsp;&rarr;</a></td>
</tr></table>
</td></tr></table>
</td></tr></table>
<!--[if mso]><table role="presentation" width="100%"><tr><td height="16"></td></tr></table><![endif]-->
"""


def reply(rng: random.Random, depth: int) -> str:
    text = "".join(f"<div>{sentence(rng)}</div>\n" for _ in range(rng.randint(1, 4)))
    if depth == 0:
        return text
    who = f"{rng.choice(WORDS).title()} {rng.choice(WORDS).title()}"
    return (f'{text}<div class="gmail_quote"><div dir="ltr" class="gmail_attr">On Mon, 3 Mar 2025 at 09:{rng.randint(10, 59)}, '
            f'{who} &lt;{who.split()[0].lower()}@example.org&gt; wrote:<br></div>\n'
            f'<blockquote class="gmail_quote" type="cite" style="margin:0 0 0 .8ex;border-left:1px #ccc solid;padding-left:1ex">\n'
            f"{reply(rng, depth - 1)}</blockquote></div>\n")


SYNTHETIC_STYLE = """<style type="text/css">
body { margin: 0; padding: 0; -webkit-text-size-adjust: 100%; }
table, td { border-collapse: collapse; mso-table-lspace: 0pt; mso-table-rspace: 0pt; }
@media only screen and (max-width: 600px) { .col { display: block !important; width: 100% !important; } }
</style>"""

# What newsletter templates put in the head: resets, client fixes, rules by
# tag, class, attribute and descendant for the markup above, and media queries.
NEWSLETTER_STYLE = """<style type="text/css">
/* Reset */
body { margin: 0; padding: 0; -webkit-text-size-adjust: 100%; -ms-text-size-adjust: 100%; }
table, td { border-collapse: collapse; mso-table-lspace: 0pt; mso-table-rspace: 0pt; }
img { border: 0; outline: none; text-decoration: none; -ms-interpolation-mode: bicubic; }
p { margin: 0 0 12px 0; }
a { color: #0a66c2; }
a:hover { text-decoration: underline; }
h2 { font-family: Georgia, serif; font-weight: normal; }
strong { font-weight: 700; }
/* Layout */
center > table { width: 100%; }
table[role=presentation] { border-spacing: 0; }
td.col { vertical-align: top; }
td.col p { font-size: 15px; line-height: 22px; }
td.col h2 + p { margin-top: 4px; }
td[bgcolor] a { color: #ffffff; }
a[href^="https://news.example.com/read"] { font-weight: bold; letter-spacing: 0.2px; }
/* Replies */
.gmail_quote { margin: 0; }
.gmail_attr { color: #777777; font-size: 12px; }
blockquote.gmail_quote { border-left: 1px solid #cccccc; }
blockquote div { color: #555555; }
blockquote blockquote div { color: #777777; }
/* Outlook */
.ExternalClass { width: 100%; }
.ExternalClass, .ExternalClass p, .ExternalClass span, .ExternalClass font, .ExternalClass td, .ExternalClass div { line-height: 100%; }
#outlook a { padding: 0; }
@media only screen and (max-width: 600px) {
  .col { display: block !important; width: 100% !important; }
  h2 { font-size: 20px !important; }
}
</style>"""


def synthetic_newsletter(size: int, style: str = SYNTHETIC_STYLE) -> str:
    rng = random.Random(20250303)
    head = """<!DOCTYPE html>
<html lang="en" xmlns:v="urn:schemas-microsoft-com:vml" xmlns:o="urn:schemas-microsoft-com:office:office">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>The Weekly Digest &mdash; Issue 42</title>
<!--[if mso]><xml><o:OfficeDocumentSettings><o:PixelsPerInch>96</o:PixelsPerInch></o:OfficeDocumentSettings></xml><![endif]-->
STYLE
</head>
<body style="margin:0;padding:0;background-color:#f4f4f4">
<div style="display:none;max-height:0;overflow:hidden">This week&#8217;s highlights &zwnj;&nbsp;&zwnj;&nbsp;</div>
<center>
<table role="presentation" width="100%" cellpadding="0" cellspacing="0" border="0" bgcolor="#f4f4f4"><tr><td align="center">
<table role="presentation" width="600" cellpadding="0" cellspacing="0" border="0" style="max-width:600px">
""".replace("STYLE", style)
    tail = """</table>
</td></tr></table>
<p style="font-size:12px;color:#777777">You are receiving this because you subscribed. <a href="https://news.example.com/unsubscribe?u=42&amp;l=en">Unsubscribe</a> &middot; &copy; 2025 Example&nbsp;Ltd.</p>
</center>
</body>
</html>
"""
    parts = [head]
    length = len(head) + len(tail)
    while length < size:
        chunk = (f"<tr><td>\n{article(rng)}</td></tr>\n" if rng.random() < 0.7
                 else f'<tr><td style="padding:16px 32px;background:#fafafa">\n{reply(rng, rng.randint(1, 6))}</td></tr>\n')
        parts.append(chunk)
        length += len(chunk)
    parts.append(tail)
    return "".join(parts)


def main() -> int:
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("out", type=Path, help="output folder, e.g. build/bench-corpus")
    arguments.add_argument("--corpus", type=Path, default=Path(os.environ.get("ZV_MAIL_CORPUS", "/work/shared/corpus/mail")),
                           help="mail corpus folder (default: $ZV_MAIL_CORPUS or /work/shared/corpus/mail)")
    options = arguments.parse_args()
    if not options.corpus.is_dir():
        print(f"extract_corpus_html: {options.corpus}: not a folder", file=sys.stderr)
        return 1
    count, total, duplicates = extract(options.corpus, options.out)
    synthetic = synthetic_newsletter(SYNTHETIC_SIZE).encode("utf-8")
    (options.out / "synthetic-newsletter.html").write_bytes(synthetic)
    styled = synthetic_newsletter(STYLED_SIZE, NEWSLETTER_STYLE).encode("utf-8")
    (options.out / "styled-newsletter.html").write_bytes(styled)
    print(f"extract_corpus_html: {count} documents ({total / 1e6:.1f} MB; {duplicates} duplicates skipped) "
          f"and a {len(synthetic) / 1e6:.1f} MB synthetic mail in {options.out}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
