#!/usr/bin/env python3
"""The cost of the GObject layer: plain text and 200-character snippets of
every corpus document, from Python through PyGObject and the Zv library,
against the same C++ calls made in process by bench/binding_peer.cpp, in one
run. Each side reads the documents first and keeps the best of ROUNDS passes.

    bench/binding_bench.py BUILD [ROUNDS]

Reads BUILD/bench-corpus/corpus (bench/extract_corpus_html.py makes it; so
does scripts/run-benchmarks). Run it with a Python that has PyGObject.
"""
import json
import os
import subprocess
import sys
import time
from pathlib import Path


def main():
    build = Path(sys.argv[1] if len(sys.argv) > 1 else "build").resolve()
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    corpus = build / "bench-corpus" / "corpus"
    if not corpus.is_dir():
        subprocess.run([sys.executable, str(Path(__file__).parent / "extract_corpus_html.py"),
                        str(build / "bench-corpus")], check=True)
    os.environ["GI_TYPELIB_PATH"] = str(build / "src" / "glib")
    # The typelib names the library; the loader looks in LD_LIBRARY_PATH,
    # read at start-up, so the script starts itself again with it set.
    if str(build / "src" / "glib") not in os.environ.get("LD_LIBRARY_PATH", ""):
        os.environ["LD_LIBRARY_PATH"] = str(build / "src" / "glib")
        os.execv(sys.executable, [sys.executable, *sys.argv])

    import gi
    gi.require_version("Zv", "0.2")
    from gi.repository import Zv

    documents = [path.read_bytes().decode("utf-8", "replace") for path in sorted(corpus.iterdir())]

    def best(work):
        times = []
        for _ in range(rounds):
            start = time.perf_counter()
            for html in documents:
                work(html)
            times.append(time.perf_counter() - start)
        return min(times)

    python = {
        "plaintext": best(Zv.html_to_plain_text),
        "snippets": best(lambda html: Zv.text_snippet_for_html(html, 200, Zv.SnippetOptions.KEEP_WHOLE_WORDS)),
    }
    peer = json.loads(subprocess.run([str(build / "bench" / "binding_peer"), str(corpus), str(rounds)],
                                     check=True, capture_output=True, text=True).stdout)
    print(f"{len(documents)} documents, best of {rounds} passes")
    print(f"{'':12}{'Python (Zv)':>14}{'C++':>12}{'Python/C++':>12}")
    for name in ("plaintext", "snippets"):
        print(f"{name:12}{python[name] * 1000:>11.1f} ms{peer[name] * 1000:>9.1f} ms{python[name] / peer[name]:>11.2f}x")


if __name__ == "__main__":
    main()
