// The GObject library from GJS: a snippet, a quoted reply, head CSS and a
// colour, worked out by hand.
imports.gi.versions.Zv = '0.2';
const {GLib, Zv} = imports.gi;

const checks = [
    ['hidden text', Zv.text_snippet_for_html('<p>Hi <b style="opacity:0">x</b>there</p>', 50, Zv.SnippetOptions.NONE),
        'Hi there'],
    ['quoted reply', Zv.html_to_plain_text('<p>No.</p><blockquote type="cite"><p>Rain?</p></blockquote>'),
        'No.\n>Rain?'],
    ['inlined', Zv.apply_head_css('<style>u { x: 1 }</style><u>a</u>', true, null, null),
        '<html><head></head><body><u style=" x: 1">a</u></body></html>'],
    ['colour', Zv.color_for_name('maroon').join(','), 'true,128,0,0'],
];
let failures = 0;
for (const [what, got, wanted] of checks) {
    if (got !== wanted) {
        printerr(`${what}: got ${JSON.stringify(got)}, wanted ${JSON.stringify(wanted)}`);
        failures++;
    }
}
try {
    Zv.apply_head_css('<p>', false, ['(('], null);
    printerr('a bad exclusion was accepted');
    failures++;
} catch (e) {
    if (!e.matches(Zv.error_quark(), Zv.Error.INVALID_ARGUMENT)) {
        printerr(`unexpected error ${e}`);
        failures++;
    }
}
imports.system.exit(failures ? 1 : 0);
