#!/usr/bin/env node
// The plain-text peer: html-to-text (npm) converting each document of a
// folder to the text of a text/plain part, with its default options (line
// wrapping at 80 columns, link targets in brackets), as a mail client built on
// it would. The converter is compiled once; every document is read before the
// clock starts. Its input limit is lifted: by default it converts only the
// first 16 MB of a document and drops the rest, which would compare a part of
// a large message with the whole.
//
//   node bench/html_to_text_peer.js FOLDER [ROUNDS]
//
// Runs one round to warm the JIT, then ROUNDS timed rounds (default 5), and
// prints one JSON object:
//   {"documents": N, "bytes": B, "seconds": [each round's wall time],
//    "cpuSeconds": [each round's CPU time, user and system, all threads]}
'use strict';

const fs = require('fs');
const path = require('path');
const { compile } = require('html-to-text');

function main() {
  const [folder, roundsArgument] = process.argv.slice(2);
  if (!folder) {
    console.error('usage: node bench/html_to_text_peer.js FOLDER [ROUNDS]');
    return 2;
  }
  const rounds = Number(roundsArgument || 5);
  const documents = fs.readdirSync(folder).sort()
    .map((name) => fs.readFileSync(path.join(folder, name), 'utf8'));
  const bytes = documents.reduce((sum, html) => sum + Buffer.byteLength(html), 0);
  const convert = compile({ limits: { maxInputLength: Infinity } });

  let sink = 0;
  const seconds = [];
  const cpuSeconds = [];
  const round = () => {
    const start = process.hrtime.bigint();
    const cpu = process.cpuUsage();
    for (const html of documents) sink += convert(html).length;
    const used = process.cpuUsage(cpu);
    seconds.push(Number(process.hrtime.bigint() - start) / 1e9);
    cpuSeconds.push((used.user + used.system) / 1e6);
  };
  round();
  seconds.length = cpuSeconds.length = 0;
  for (let i = 0; i < rounds; i++) round();
  console.log(JSON.stringify({ documents: documents.length, bytes, seconds, cpuSeconds, checksum: sink }));
  return 0;
}

process.exitCode = main();
