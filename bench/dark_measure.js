// Body of an async function run in a message view by dark_bench: waits until
// the page is drawn (and, with `peer`, until the peer's styles are in), then
// measures, from computed styles, how legible and how dark the page is.
// Arguments: peer (1 while waiting for the peer, else 0).
const frame = () => new Promise(resolve => requestAnimationFrame(() => resolve()));
await frame();
await frame();
if (peer) {
    for (let i = 0; i < 200 && !document.querySelector("style.darkreader"); ++i)
        await new Promise(resolve => setTimeout(resolve, 10));
    await frame();
    await frame();
}

function parse(text) {
    const m = /rgba?\(([^)]*)\)/.exec(text);
    if (!m) return null;
    const p = m[1].split(/[\s,\/]+/).filter(s => s.length).map(parseFloat);
    return [p[0] / 255, p[1] / 255, p[2] / 255, p.length > 3 ? p[3] : 1];
}
const over = (top, bottom) => [0, 1, 2].map(i => top[i] * top[3] + bottom[i] * (1 - top[3])).concat([1]);
const channel = v => v <= 0.04045 ? v / 12.92 : Math.pow((v + 0.055) / 1.055, 2.4);
const luminance = c => 0.2126 * channel(c[0]) + 0.7152 * channel(c[1]) + 0.0722 * channel(c[2]);
const contrast = (a, b) => {
    const x = luminance(a), y = luminance(b);
    return (Math.max(x, y) + 0.05) / (Math.min(x, y) + 0.05);
};

// The canvas takes the root's background, else the body's, else the view's white.
const white = [1, 1, 1, 1];
let canvas = white;
for (const element of [document.documentElement, document.body]) {
    const c = element && parse(getComputedStyle(element).backgroundColor);
    if (c && c[3] > 0) { canvas = over(c, white); break; }
}

// What an element's content is drawn on: an opaque colour, or an image.
const backdrops = new Map();
function backdrop(element) {
    if (!element) return { color: canvas, image: false };
    let found = backdrops.get(element);
    if (found) return found;
    const below = backdrop(element.parentElement);
    const style = getComputedStyle(element);
    const c = parse(style.backgroundColor);
    found = { color: below.color, image: below.image };
    if (style.backgroundImage && style.backgroundImage !== "none") found.image = true;
    if (c && c[3] > 0) {
        found.color = over(c, below.color);
        if (c[3] >= 1 && style.backgroundImage === "none") found.image = false;
    }
    backdrops.set(element, found);
    return found;
}

let texts = 0, legible = 0, overImages = 0;
const failures = [];
const walker = document.createTreeWalker(document.body || document.documentElement, NodeFilter.SHOW_TEXT);
const seen = new Set();
for (let node = walker.nextNode(); node; node = walker.nextNode()) {
    const element = node.parentElement;
    if (!element || seen.has(element) || !/\S/.test(node.data)) continue;
    seen.add(element);
    const style = getComputedStyle(element);
    const color = parse(style.color);
    if (!element.getClientRects().length || style.visibility !== "visible" || parseFloat(style.fontSize) === 0 ||
        !color || color[3] === 0)
        continue;
    const back = backdrop(element);
    if (back.image) { ++overImages; continue; }
    ++texts;
    const ratio = contrast(over(color, back.color), back.color);
    if (ratio >= 4.5) ++legible;
    else if (failures.length < 3) failures.push(`${element.tagName} ${style.color} on ${back.color.map(v => Math.round(v * 255))} (${ratio.toFixed(2)}): ${Array.from(node.data.trim()).slice(0, 30).join("")}`);
}

// Darkness: a grid of points over the page, screen by screen; points on
// images and replaced content are not background.
let points = 0, dark = 0;
const height = Math.min(document.documentElement.scrollHeight, 10 * innerHeight);
for (let top = 0; top < height; top += innerHeight) {
    scrollTo(0, top);
    for (let y = 10; y < innerHeight && top + y < height; y += 30)
        for (let x = 10; x < innerWidth; x += 30) {
            const element = document.elementFromPoint(x, y);
            if (!element || /^(IMG|SVG|VIDEO|CANVAS|IFRAME|OBJECT|EMBED|PICTURE)$/i.test(element.tagName)) continue;
            const back = backdrop(element);
            if (back.image) continue;
            ++points;
            if (luminance(back.color) < 0.1) ++dark;
        }
}
scrollTo(0, 0);
return JSON.stringify({ texts, legible, overImages, points, dark, failures });
