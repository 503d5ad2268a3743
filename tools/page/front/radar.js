// Where a game's sources are, from above: ahead is up. Distance grows towards the edge by its logarithm, so that what is
// near can be told apart and what is far is still seen.

import { keep, make, makeSvg, setAttributes, setText } from './dom.js';
import { formatCount, formatNumber } from './numbers.js';

const radius = 100;
const ranges = [3, 10, 30, 100, 300, 1000, 3000, 10000];
const most = 64;  // dots at a time

export class Radar {
    /** @param {HTMLElement} parent */
    constructor(parent) {
        this.range = 0;
        this.rings = makeSvg('g', { class: 'rings' });
        this.dots = makeSvg('g', { class: 'sources' });
        this.title = makeSvg('title');
        const svg = makeSvg('svg', { viewBox: '-110 -110 220 220', class: 'radar', role: 'img' }, this.title, this.rings,
            makeSvg('path', { class: 'listener', d: 'M0-7l4.5 11L0 1.5L-4.5 4z' }), this.dots);
        parent.append(make('figure', { class: 'radar-figure' }, svg));
    }

    /** @param {number} distance @returns {number} in units of the drawing */
    radiusOf(distance) {
        return radius * Math.min(1, Math.log1p(distance) / Math.log1p(this.range));
    }

    /** @param {{number: number, x: number, y: number, z: number, distance: number, level: number, relative: boolean}[]} sources
     *      metres to the right, up and behind of the listener; dBFS */
    draw(sources) {
        const shown = sources.slice(0, most);
        this.chooseRange(Math.max(1, ...shown.map(({ distance }) => distance)));
        setText(this.title, `Radar: ${formatCount(sources.length)} sources play`);
        keep(this.dots, shown, ({ number }) => number, () => makeSvg('circle'), (dot, source) => this.updateDot(dot, source));
    }

    /** Takes a larger range at once, a smaller one only when it is much too large, so that the circles stay. */
    chooseRange(furthest) {
        const wanted = ranges.find((range) => range >= furthest) ?? ranges.at(-1);
        if (this.range >= wanted && this.range <= wanted * 10) return;
        this.range = wanted;
        const circles = ranges.filter((range) => range <= wanted).slice(-3);
        this.rings.replaceChildren(...circles.flatMap((range) => [makeSvg('circle', { r: this.radiusOf(range).toFixed(1) }),
            makeSvg('text', { x: 2, y: (this.radiusOf(range) - 2).toFixed(1) }, `${formatNumber(range)} m`)]));
    }

    updateDot(dot, { x, y, z, distance, level, relative }) {
        const flat = Math.hypot(x, z);
        const r = flat > 1e-6 ? this.radiusOf(distance) * (flat / Math.hypot(x, y, z)) : 0;
        const loudness = Math.max(0, Math.min(1, 1 + level / 60));
        setAttributes(dot, { cx: ((r * x) / (flat || 1)).toFixed(1), cy: ((r * z) / (flat || 1)).toFixed(1),
            r: (2.5 + 4 * loudness).toFixed(1), 'data-relative': relative ? 'true' : null, opacity: (0.35 + 0.65 * loudness).toFixed(2) });
    }
}
