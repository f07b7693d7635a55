#!/usr/bin/env node
// The CSS inlining peers: juice (npm, JavaScript on cheerio) and css-inline
// (npm, a native module), each turning every document of a folder, or one
// file, into the document with its head CSS inlined and its style elements
// removed: HTML string in, HTML string out, as `zvwk inline-css --purge`
// does. juice runs with its defaults (style elements removed, media queries
// kept in a new one); css-inline with remote style sheets off. Every document
// is read before the clock starts.
//
//   node bench/inline_css_peer.js FOLDER|FILE [ROUNDS]
//
// Runs one round per peer to warm up, then ROUNDS timed rounds (default 5),
// and prints one JSON object:
//   {"documents": N, "bytes": B,
//    "juice": {"seconds": [...], "cpuSeconds": [...], "failures": F}, "css-inline": {...}}
// seconds are each round's wall time, cpuSeconds its CPU time (user and
// system, all threads); failures counts the documents a peer threw on.
'use strict';

const fs = require('fs');
const path = require('path');
const juice = require('juice');
const cssInline = require('@css-inline/css-inline');

const PEERS = {
  juice: (html) => juice(html),
  'css-inline': (html) => cssInline.inline(html, { keepStyleTags: false, loadRemoteStylesheets: false }),
};

function readDocuments(input) {
  if (!fs.statSync(input).isDirectory()) return [fs.readFileSync(input, 'utf8')];
  return fs.readdirSync(input).sort().map((name) => fs.readFileSync(path.join(input, name), 'utf8'));
}

function measure(convert, documents, rounds) {
  let sink = 0;
  let failures = 0;
  const seconds = [];
  const cpuSeconds = [];
  const round = () => {
    failures = 0;
    const start = process.hrtime.bigint();
    const cpu = process.cpuUsage();
    for (const html of documents) {
      try {
        sink += convert(html).length;
      } catch (error) {
        failures++;
      }
    }
    const used = process.cpuUsage(cpu);
    seconds.push(Number(process.hrtime.bigint() - start) / 1e9);
    cpuSeconds.push((used.user + used.system) / 1e6);
  };
  round();
  seconds.length = cpuSeconds.length = 0;
  for (let i = 0; i < rounds; i++) round();
  return { seconds, cpuSeconds, failures, checksum: sink };
}

function main() {
  const [input, roundsArgument] = process.argv.slice(2);
  if (!input) {
    console.error('usage: node bench/inline_css_peer.js FOLDER|FILE [ROUNDS]');
    return 2;
  }
  const rounds = Number(roundsArgument || 5);
  const documents = readDocuments(input);
  const bytes = documents.reduce((sum, html) => sum + Buffer.byteLength(html), 0);
  const result = { documents: documents.length, bytes };
  for (const [name, convert] of Object.entries(PEERS)) result[name] = measure(convert, documents, rounds);
  console.log(JSON.stringify(result));
  return 0;
}

process.exitCode = main();
