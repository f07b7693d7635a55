#!/usr/bin/env node
// The peer for snippet previews: html-to-text (npm) converting each document
// of a folder, then the text cut to 200 characters, as a message list built
// on it would fill its preview column. The converter is compiled once with
// the options a preview wants (no line wrapping, no link targets, no images),
// and white space is collapsed before the cut.
//
//   node bench/html_to_text_previews.js FOLDER [ROUNDS]
//
// Reads every file of FOLDER first, runs one round to warm the JIT, then
// ROUNDS timed rounds (default 5), and prints one JSON object:
//   {"documents": N, "bytes": B, "seconds": [each round's wall time]}
'use strict';

const fs = require('fs');
const path = require('path');
const { compile } = require('html-to-text');

const PREVIEW_LENGTH = 200;

function main() {
  const [folder, roundsArgument] = process.argv.slice(2);
  if (!folder) {
    console.error('usage: node bench/html_to_text_previews.js FOLDER [ROUNDS]');
    return 2;
  }
  const rounds = Number(roundsArgument || 5);
  const documents = fs.readdirSync(folder).sort()
    .map((name) => fs.readFileSync(path.join(folder, name), 'utf8'));
  const bytes = documents.reduce((sum, html) => sum + Buffer.byteLength(html), 0);

  const convert = compile({
    wordwrap: false,
    selectors: [
      { selector: 'a', options: { ignoreHref: true } },
      { selector: 'img', format: 'skip' },
    ],
  });
  const preview = (html) => convert(html).replace(/\s+/g, ' ').trim().slice(0, PREVIEW_LENGTH);

  let sink = 0;
  const round = () => {
    const start = process.hrtime.bigint();
    for (const html of documents) sink += preview(html).length;
    return Number(process.hrtime.bigint() - start) / 1e9;
  };
  round();
  const seconds = [];
  for (let i = 0; i < rounds; i++) seconds.push(round());
  console.log(JSON.stringify({ documents: documents.length, bytes, seconds, checksum: sink }));
  return 0;
}

process.exitCode = main();
