// The head tracker: whether the sound follows one, where its packets come in, and where the head is now.

import { post } from './api.js';
import { byId, keep, make, makeField, makeSvg, setAttribute, setField, setProperty, setStyle, setText } from './dom.js';
import { attempt, say } from './notice.js';
import { formatFixed, formatNumber, parseNumber } from './numbers.js';
import { wrapAngle } from './room.js';
import { refresh } from './sync.js';
import { known, layout, onChange, setting } from './state.js';

const note = () => byId('tracker-note');

/** What is set in here; the other settings are in the folded list. */
export const namesInTracker = ['HeadTracking', 'HeadTrackingPort'];

const modes = [['Off', 'Off'], ['Headphones', 'Headphones'], ['Always', 'Speakers too']];
const calmStep = 15;  // degrees, in which the head turns where a person wants little motion

/** @typedef {{listens: boolean, speaks: boolean, yaw: number, pitch: number, roll: number}} Tracker degrees to the left, up, over the right ear */

/** What the tracker does, in words. @param {string} mode @param {number} port @param {Tracker[]} trackers of running games */
function stateText(mode, port, trackers) {
    if (mode === 'Off') return 'Off: no tracker is followed.';
    if (trackers.some(({ speaks }) => speaks)) return `A tracker is heard at port ${port}.`;
    if (trackers.some(({ listens }) => listens)) return `Waiting for packets at port ${port}.`;
    if (mode === 'Headphones' && layout() && !layout().isHeadphones) return 'On for headphones, but the layout in force is of speakers.';
    return trackers.length === 0 ? `On: a game listens at port ${port} once it runs.` : 'On: the game listens within two seconds.';
}

const calm = matchMedia('(prefers-reduced-motion: reduce)');
let turned = 0;  // degrees, which aren't wrapped, so that the head never turns the long way

function drawHead(tracker) {
    const wanted = tracker?.speaks ? tracker.yaw : 0;
    turned += wrapAngle((calm.matches ? calmStep * Math.round(wanted / calmStep) : wanted) - turned);
    setStyle(byId('tracker-head'), '--turn', `${-turned}deg`);
    setAttribute(byId('tracker-head'), 'data-heard', tracker?.speaks ? 'true' : null);
    const show = (name, positive, negative) => setText(byId(`tracker-${name}`), tracker?.speaks ?
        `${formatFixed(Math.abs(tracker[name]), 0)}° ${tracker[name] < 0 ? negative : positive}` : '–');
    show('yaw', 'left', 'right');
    show('pitch', 'up', 'down');
    show('roll', 'right', 'left');
}

const now = () => ({ mode: setting('HeadTracking')?.value ?? 'Off', port: setting('HeadTrackingPort')?.value ?? 4242 });

/** Not with each look at the games, so that what a person has just chosen stays until it is stored. */
function drawSettings() {
    const { mode, port } = now();
    for (const choice of byId('tracker-mode').querySelectorAll('input')) setProperty(choice, 'checked', choice.value === mode);
    setField(byId('tracker-port'), formatNumber(port, 0));
    setProperty(byId('tracker-centre'), 'disabled', mode === 'Off');
    for (const place of byId('tracker-help').querySelectorAll('.port')) setText(place, port);
}

function drawState() {
    const { mode, port } = now(), trackers = known.games.map(({ tracker }) => tracker);
    setText(byId('tracker-state'), stateText(mode, port, trackers));
    drawHead(mode === 'Off' ? undefined : trackers.find(({ speaks }) => speaks));
}

/** @param {object} wanted @param {HTMLInputElement} [field] keeps what is refused, marked */
async function set(wanted, field) {
    const answer = await attempt(note(), () => post('/api/tracker', wanted));
    if (field && !answer) setAttribute(field, 'aria-invalid', 'true');
    await refresh();
    drawSettings();
}

async function centre() {
    if (await attempt(note(), () => post('/api/tracker/centre'))) say(note(), 'Where your head is now is ahead.');
}

/** Builds it, once. */
export function startTracker() {
    keep(byId('tracker-mode'), modes, ([mode]) => mode, ([mode, name]) => make('label', {},
        make('input', { type: 'radio', name: 'tracker-mode', value: mode, onchange: () => set({ mode }) }), make('span', {}, name)));
    byId('tracker-port-place').append(makeField({ id: 'tracker-port', class: 'number', inputmode: 'numeric' },
        (text, field) => set({ port: parseNumber(text) ?? text }, field)));
    byId('tracker-head').append(makeSvg('circle', { class: 'ahead', r: 27 }), makeSvg('path', { class: 'ahead', d: 'M0-27v5' }),
        makeSvg('g', { class: 'head' }, makeSvg('path', { d: 'M-4.5-13L0-21l4.5 8z' }), makeSvg('path', { d: 'M-13-4h-4v8h4zM13-4h4v8h-4z' }),
            makeSvg('ellipse', { rx: 13, ry: 15 })));
    byId('tracker-centre').addEventListener('click', centre);
    onChange(['server'], drawSettings);
    onChange(['server', 'games'], drawState);
}
