//! html5ever's parse time on the inputs parse_bench reads, for the parsing
//! section of scripts/run-benchmarks.
//!
//!   html5ever_peer BENCH_CORPUS [ROUNDS]
//!
//! BENCH_CORPUS is what bench/extract_corpus_html.py writes: corpus/* (parsed
//! one after another as a list of documents) and synthetic-newsletter.html;
//! the 10 MB document of one text node is generated as parse_bench does.
//! Every document becomes a whole RcDom, html5ever's reference tree, which is
//! then dropped. Files are read and turned into tendrils (html5ever's input
//! buffers) before the clock starts, so the peer is timed on parsing and the
//! tree alone, as parse_bench times zvhtml and gumbo.
//!
//! Prints one line per input: "html5ever/NAME cpu-ms MEDIAN bytes N documents N",
//! the median process CPU time of ROUNDS rounds (default 5) after one untimed
//! round.
use html5ever::tendril::{StrTendril, TendrilSink};
use html5ever::{parse_document, ParseOpts};
use markup5ever_rcdom::RcDom;
use std::path::{Path, PathBuf};
use std::process::ExitCode;
use std::{env, fs};

struct Input {
    name: &'static str,
    documents: Vec<StrTendril>,
}

impl Input {
    fn bytes(&self) -> usize {
        self.documents.iter().map(|d| d.len()).sum()
    }
}

fn cpu_seconds() -> f64 {
    let mut now = libc::timespec { tv_sec: 0, tv_nsec: 0 };
    // Cannot fail for this clock on Linux.
    unsafe { libc::clock_gettime(libc::CLOCK_PROCESS_CPUTIME_ID, &mut now) };
    now.tv_sec as f64 + now.tv_nsec as f64 * 1e-9
}

// The extractor writes UTF-8; a stray invalid byte is replaced here, outside
// the clock, rather than left to the decoder inside it.
fn read_document(path: &Path) -> Option<StrTendril> {
    let bytes = fs::read(path).ok()?;
    Some(StrTendril::from_slice(&String::from_utf8_lossy(&bytes)))
}

fn read_corpus(root: &Path) -> Vec<StrTendril> {
    let mut paths: Vec<PathBuf> = match fs::read_dir(root.join("corpus")) {
        Ok(entries) => entries.filter_map(|e| e.ok()).map(|e| e.path()).filter(|p| p.is_file()).collect(),
        Err(_) => return Vec::new(),
    };
    paths.sort();
    paths.iter().filter_map(|p| read_document(p)).collect()
}

// Byte for byte the document parse_bench generates.
fn text_node_document() -> StrTendril {
    let mut html = String::from("<!DOCTYPE html><html><body><p>");
    while html.len() < 10_000_000 {
        html.push_str("one long text node without any markup in it, ");
    }
    html.push_str("</p></body></html>");
    StrTendril::from_slice(&html)
}

// Scripting off, as zvhtml parses by default and gumbo always does: the
// content of <noscript> becomes elements in all three trees.
fn parse_options() -> ParseOpts {
    let mut options = ParseOpts::default();
    options.tree_builder.scripting_enabled = false;
    options
}

// A clone shares the tendril's buffer: no copy of the input is timed.
fn parse_all(documents: &[StrTendril]) {
    for document in documents {
        let dom: RcDom = parse_document(RcDom::default(), parse_options()).one(document.clone());
        drop(dom);
    }
}

fn median_cpu_seconds(input: &Input, rounds: usize) -> f64 {
    parse_all(&input.documents);
    let mut times: Vec<f64> = (0..rounds)
        .map(|_| {
            let start = cpu_seconds();
            parse_all(&input.documents);
            cpu_seconds() - start
        })
        .collect();
    times.sort_by(|a, b| a.partial_cmp(b).unwrap());
    times[times.len() / 2]
}

fn main() -> ExitCode {
    let args: Vec<String> = env::args().collect();
    let rounds = match args.get(2).map(|r| r.parse::<usize>()) {
        None => Some(5),
        Some(Ok(n)) if n > 0 => Some(n),
        Some(_) => None,
    };
    let (root, rounds) = match (args.len(), rounds) {
        (2 | 3, Some(rounds)) => (PathBuf::from(&args[1]), rounds),
        _ => {
            eprintln!("usage: html5ever_peer BENCH_CORPUS [ROUNDS]");
            return ExitCode::from(2);
        }
    };

    let corpus = read_corpus(&root);
    let synthetic = read_document(&root.join("synthetic-newsletter.html"));
    let synthetic = match (corpus.is_empty(), synthetic) {
        (false, Some(document)) => document,
        _ => {
            eprintln!(
                "html5ever_peer: {}: no corpus/ documents or no synthetic-newsletter.html \
                 (run bench/extract_corpus_html.py)",
                root.display()
            );
            return ExitCode::from(1);
        }
    };
    let inputs = [
        Input { name: "corpus", documents: corpus },
        Input { name: "synthetic-5MB", documents: vec![synthetic] },
        Input { name: "text-node-10MB", documents: vec![text_node_document()] },
    ];
    for input in &inputs {
        let seconds = median_cpu_seconds(input, rounds);
        println!(
            "html5ever/{} cpu-ms {:.3} bytes {} documents {}",
            input.name,
            seconds * 1e3,
            input.bytes(),
            input.documents.len()
        );
    }
    ExitCode::SUCCESS
}
