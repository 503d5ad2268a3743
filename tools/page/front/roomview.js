// One view of the room, from above or from the side: circles of distance, the listener, the speakers, which are dragged
// or moved by keys, and over direction how sharp and how loud the quick decoder is.

import { keep, makeSvg, setAttribute, setAttributes, setText } from './dom.js';
import { formatNumber } from './numbers.js';
import { curvePoints, describePlace, dragTo, levelRadius, moveByKey, project, ringStep, toPoint, viewRange } from './room.js';
import { isMeasured } from './state.js';

const radius = 100;  // of a view, in units of the drawing
const slack = 4;     // pixels that a press may move without being a drag

/**
 * @typedef {object} Moves what a person does in a view
 * @property {(index: number, place: import('./room.js').Place) => void} move
 * @property {(index: number | null) => void} choose
 * @property {() => void} settle a drag has ended
 */

export class RoomView {
    /** @param {SVGSVGElement} svg @param {import('./room.js').View} view @param {Moves} moves */
    constructor(svg, view, moves) {
        Object.assign(this, { svg, view, moves, range: 0, isDragged: false, speakers: [], pending: null });
        this.rings = makeSvg('g', { class: 'rings' });
        this.sharpness = makeSvg('polygon', { class: 'sharpness' });
        this.level = makeSvg('polygon', { class: 'level' });
        this.dots = makeSvg('g', { class: 'speakers' });
        svg.append(this.rings, this.sharpness, this.level, drawListener(view), this.dots);
        this.followPointer();
    }

    /** Draws all of it. @param {import('./state.js').Speaker[]} speakers @param {number | null} chosen @param {boolean} isDraft */
    draw(speakers, chosen, isDraft) {
        this.speakers = speakers;
        if (!this.isDragged) this.drawRings(viewRange(speakers));
        setAttributes(this.svg, { 'data-draft': isDraft ? 'true' : null, 'data-unmeasured': isMeasured() ? null : 'true' });
        keep(this.dots, speakers, (speaker, i) => speaker.key ?? `n${i}`, (_, i) => this.createDot(i),
            (dot, speaker, i) => this.updateDot(dot, speaker, i, i === chosen));
    }

    /** @param {import('./state.js').Direction[] | null} curve */
    drawCurves(curve) {
        const points = (share) => (curve ? curvePoints(curve, this.view, radius, share) : null);
        setAttribute(this.sharpness, 'points', points(({ sharpness }) => Math.max(0, Math.min(1, sharpness))));
        setAttribute(this.level, 'points', points(({ level }) => levelRadius(level)));
    }

    drawRings(range) {
        if (range === this.range) return;
        this.range = range;
        const step = ringStep(range), count = Math.floor(range / step + 1e-9);
        const rings = Array.from({ length: count }, (_, i) => (i + 1) * step).flatMap((metres) => {
            const r = (radius * metres) / range;
            return [makeSvg('circle', { r }), makeSvg('text', { x: 2, y: r - 2, class: 'metres' }, `${formatNumber(metres)} m`)];
        });
        this.rings.replaceChildren(makeSvg('circle', { r: radius, class: 'edge' }),
            makeSvg('line', { x1: -radius, x2: radius }), makeSvg('line', { y1: -radius, y2: radius }), ...rings);
    }

    createDot() {
        const dot = makeSvg('g', { class: 'speaker' }, makeSvg('circle', { class: 'reach', r: 13 }),
            makeSvg('circle', { class: 'ring', r: 11 }), makeSvg('path', { class: 'body' }),
            makeSvg('text', { class: 'number', y: 3 }), makeSvg('text', { class: 'label' }));
        if (this.view === 'above') {
            setAttributes(dot, { tabindex: 0, role: 'slider', 'aria-valuemin': -180, 'aria-valuemax': 180 });
            dot.addEventListener('keydown', (event) => this.onKey(event, Number(dot.dataset.index)));
            dot.addEventListener('focus', () => this.moves.choose(Number(dot.dataset.index)));
        }
        return dot;
    }

    updateDot(dot, speaker, index, isChosen) {
        const { x, y } = project(toPoint(speaker), this.view), scale = radius / this.range;
        setAttributes(dot, { transform: `translate(${(x * scale).toFixed(2)} ${(y * scale).toFixed(2)})`, 'data-index': index,
            'data-speaker': index, 'data-type': speaker.type, 'data-chosen': isChosen ? 'true' : null });
        const [, , body, number, label] = dot.children;
        setAttribute(body, 'd', shapes[speaker.type] ?? shapes.Normal);
        setText(number, index + 1);
        setText(label, this.labelOf(speaker, isChosen));
        this.placeLabel(label, x, y);
        if (this.view !== 'above') return;
        setAttributes(dot, { 'aria-label': `Speaker ${index + 1}, ${speaker.label}`, 'aria-valuenow': speaker.azimuth,
            'aria-valuetext': describePlace(speaker, formatNumber) });
    }

    /** From above with the height; from the side, where many coincide, the chosen one's alone: all have their numbers. */
    labelOf({ label, elevation }, isChosen) {
        if (this.view !== 'above') return isChosen ? label : '';
        return elevation === 0 ? label : `${label} ${elevation > 0 ? '↑' : '↓'}${formatNumber(Math.abs(elevation), 0)}°`;
    }

    /** Away from the listener, and towards the middle where the drawing would end. */
    placeLabel(label, x, y) {
        const isWide = Math.abs(x) > Math.abs(y);
        const anchor = !isWide ? 'middle' : x < 0 ? 'start' : 'end';
        setAttributes(label, { 'text-anchor': anchor, x: isWide ? Math.sign(x) * 9 : 0, y: y <= 0 ? -12 : 18 });
    }

    onKey(event, index) {
        const place = moveByKey(this.speakers[index], event.key, event.shiftKey);
        if (!place || event.ctrlKey || event.altKey || event.metaKey) return;
        event.preventDefault();
        this.moves.move(index, place);
    }

    /** Metres to the right and down of the listener. @param {PointerEvent} event */
    metresAt(event) {
        const at = new DOMPoint(event.clientX, event.clientY).matrixTransform(this.svg.getScreenCTM().inverse());
        return { x: (at.x * this.range) / radius, y: (at.y * this.range) / radius };
    }

    followPointer() {
        this.svg.addEventListener('pointerdown', (event) => this.onPress(event));
        this.svg.addEventListener('pointermove', (event) => this.onMove(event));
        for (const name of ['pointerup', 'pointercancel', 'lostpointercapture']) {
            this.svg.addEventListener(name, () => this.onRelease());
        }
    }

    onPress(event) {
        const dot = event.target.closest('.speaker');
        if (!dot || event.button !== 0) return;
        const index = Number(dot.dataset.index), at = this.metresAt(event);
        const from = project(toPoint(this.speakers[index]), this.view);
        this.pending = { index, start: { ...this.speakers[index] }, dx: from.x - at.x, dy: from.y - at.y,
            x: event.clientX, y: event.clientY };
        this.svg.setPointerCapture(event.pointerId);
        this.moves.choose(index);
        if (this.view === 'above') dot.focus();
        event.preventDefault();
    }

    onMove(event) {
        const drag = this.pending;
        if (!drag || (!this.isDragged && Math.hypot(event.clientX - drag.x, event.clientY - drag.y) < slack)) return;
        this.isDragged = true;
        const at = this.metresAt(event);
        const x = at.x + drag.dx, y = at.y + drag.dy;
        const beyond = Math.max(1, Math.hypot(x, y) / (this.range * 1.05));
        this.moves.move(drag.index, dragTo(drag.start, this.view, x / beyond, y / beyond, isMeasured()));
    }

    onRelease() {
        this.pending = null;
        if (!this.isDragged) return;
        this.isDragged = false;
        this.moves.settle();
    }
}

const shapes = {
    Normal: 'M-7 0a7 7 0 1 0 14 0a7 7 0 1 0-14 0z',
    Small: 'M-5.5 0a5.5 5.5 0 1 0 11 0a5.5 5.5 0 1 0-11 0z',
    'Sub-Woofer': 'M-6.5-6.5h13v13h-13z',
};

/** The listener, who looks ahead. @param {import('./room.js').View} view */
function drawListener(view) {
    const turn = view === 'above' ? null : 'rotate(90)';
    return makeSvg('g', { class: 'listener', transform: turn },
        makeSvg('path', { d: 'M-2-5.6L0-9l2 3.4z' }), makeSvg('circle', { r: 6 }),
        ...(view === 'above' ? [makeSvg('path', { d: 'M-6-1.6h-1.6v3.2H-6zM6-1.6h1.6v3.2H6z' })] : [makeSvg('circle', { r: 1.6, class: 'ear' })]));
}
