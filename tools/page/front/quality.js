// The panel of the quality: what decides how good the sound is, how late, and how loud; and the machine's measurement.

import { post } from './api.js';
import { byId, make, setAttribute, setOptions, setProperty, setText } from './dom.js';
import { makeControl, makeLine } from './control.js';
import { attempt, runWithProgress, say } from './notice.js';
import { formatFixed, formatNumber, gainInDecibels } from './numbers.js';
import { refresh } from './sync.js';
import { known, layout, onChange, setting } from './state.js';

const note = () => byId('quality-note');

/** The settings in here, in their order; the others are in the folded list. */
const lines = [
    { name: 'Order', label: 'Order', isSegmented: true, explain: (value) => `${(value + 1) ** 2} channels` },
    { name: 'Sound', label: 'Sound', isSegmented: true },
    { name: 'EffectsQuality', label: 'Effects', isSegmented: true },
    { name: 'SRC', label: 'Resampling' },
    { name: 'SuggestedBufferLength', label: 'Block', explain: (value) => `frames, ${milliseconds(value)}` },
    { name: 'SuggestedBufferCount', label: 'Blocks ahead', explain: (value) =>
        `${milliseconds(value * (setting('SuggestedBufferLength')?.value ?? 0))} of latency` },
    { name: 'Gain', label: 'Gain', explain: (value) => gainInDecibels(value) },
];
export const namesInQuality = lines.map(({ name }) => name);

const milliseconds = (frames) => `${formatFixed((1000 * frames) / (setting('DefaultSampleRate')?.value ?? 48000), 1)} ms`;

/** @type {Map<string, {control: import('./control.js').Control, hint: Element}>} */
const built = new Map();

function buildLine(item, description) {
    const control = makeControl(item, note(), description);
    const line = makeLine(description.label, control.element);
    byId('quality-lines').append(line);
    return { control, hint: line.querySelector('.hint') };
}

function drawMethod() {
    const now = layout(), select = byId('method');
    setProperty(byId('method-line'), 'hidden', now === null || now.methods.length < 2);
    if (now) setOptions(select, now.methods.map((value) => ({ value, text: value })), now.method);
}

function draw() {
    for (const description of lines) {
        const item = setting(description.name);
        if (!item) continue;
        if (!built.has(item.name)) built.set(item.name, buildLine(item, description));
        const { control, hint } = built.get(item.name);
        control.update(item);
        setText(hint, description.explain?.(item.value) ?? '');
        setAttribute(hint.closest('.line'), 'title', item.advice);
    }
    drawMethod();
    setText(byId('rating'), known.server?.quality?.text ?? '');
    setProperty(byId('measure'), 'disabled', known.isBusy);
}

async function measure() {
    const answer = await runWithProgress(note(), 'Measuring the machine', '/api/measure', {});
    if (!answer) return;
    await refresh();
    say(note(), answer.text || `Measured: ${formatNumber(answer.rating, 2)}. The quality was chosen for it.`);
}

async function chooseMethod() {
    await attempt(note(), () => post('/api/select', { layout: layout().name, method: byId('method').value }));
    await refresh();
}

/** Builds the panel, once. */
export function startQuality() {
    const method = make('select', { id: 'method', 'aria-label': 'Method of decoding', onchange: chooseMethod });
    const line = makeLine('Decoder', method);
    line.id = 'method-line';
    byId('quality-lines').append(line);
    byId('measure').addEventListener('click', measure);
    onChange(['server', 'isBusy'], draw);
}
