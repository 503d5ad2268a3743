// The head of the page: device, layout, undo and redo.

import { post } from './api.js';
import { byId, setAttribute, setAttributes, setOptions, setProperty, setText } from './dom.js';
import { discardDraft } from './draft.js';
import { attempt, mayReplaceDraft, say } from './notice.js';
import { formatTime } from './numbers.js';
import { refresh } from './sync.js';
import { change, known, layout, onChange } from './state.js';

const note = () => byId('top-note');
const automatic = ' auto';

/** The layouts, in groups as a person looks for them. */
function layoutOptions({ layouts, layout: now, followsSystem }) {
    const own = layouts.filter(({ isOwn, isHeadphones }) => isOwn && !isHeadphones);
    const headphones = layouts.filter(({ isHeadphones }) => isHeadphones);
    const shipped = layouts.filter((item) => !own.includes(item) && !headphones.includes(item));
    const list = (items, group) => items.map(({ name }) => ({ value: name, text: name, group }));
    const follow = followsSystem && now ? `As the system says (now ${now.name})` : 'As the system says';
    return [...(now || followsSystem ? [] : [{ value: '', text: 'none yet' }]), { value: automatic, text: follow },
        ...list(own, 'Your rooms'), ...list(headphones, 'Headphones'), ...list(shipped, 'Speakers')];
}

function drawDevices({ devices, layout: now }) {
    const present = known.device || now?.device || devices.find(({ isDefault }) => isDefault)?.id || '';
    const options = devices.map(({ id, name, channels, isDefault }) =>
        ({ value: id, text: `${name}, ${channels} outputs${isDefault ? ' (default)' : ''}` }));
    if (present && !devices.some(({ id }) => id === present)) options.unshift({ value: present, text: `${now?.deviceName || present} (not there)` });
    setOptions(byId('device'), options, present);
}

/** @param {string} id @param {'undo' | 'redo'} what @param {{what: string, time: string} | null} step */
function drawStep(id, what, step) {
    const name = what === 'undo' ? 'Undo' : 'Redo';
    setProperty(byId(id), 'disabled', step === null);
    setAttributes(byId(id), { 'aria-label': step ? `${name}: ${step.what}` : name,
        title: step ? `${name}: ${step.what}` : `Nothing to ${what}` });
}

/** Says the time, too. Only when it is pointed at: a browser takes a tenth of a second for its first format of a time. */
function addTime({ target }) {
    const step = known.server?.[target.id];
    if (step) setAttribute(target, 'title', `${target.getAttribute('aria-label')} (${formatTime(step.time)})`);
}

function draw() {
    const { server } = known;
    if (!server) return;
    setText(byId('problem'), server.problem ?? '');
    drawDevices(server);
    setOptions(byId('layout'), layoutOptions(server), server.followsSystem ? automatic : server.layout?.name ?? '');
    drawStep('undo', 'undo', server.undo);
    drawStep('redo', 'redo', server.redo);
}

/** Puts a layout in force, unless a draft is to stay. @param {object} wanted */
async function select(wanted) {
    if (await mayReplaceDraft()) {
        if (known.draft) discardDraft();
        const answer = await attempt(note(), () => post('/api/select', wanted));
        if (answer?.warnings?.length) say(note(), answer.warnings.join(' '), 'warning');
        if (answer) change({ device: '' });
        await refresh();
    }
    draw();
}

function chooseLayout({ target }) {
    const { value } = target;
    if (value === automatic) select({ auto: true });
    else if (value) select({ layout: value, ...(known.device ? { device: known.device } : {}) });
}

/** The layout in force goes to the other device at once. A draft, or a layout that is chosen next, takes it otherwise. */
async function chooseDevice({ target }) {
    const now = layout();
    change({ device: target.value });
    if (now && !known.draft) await select({ layout: now.name, device: target.value });
}

/** @param {'undo' | 'redo'} what */
async function step(what) {
    const answer = await attempt(note(), () => post(`/api/${what}`));
    if (answer) say(note(), [`${what === 'undo' ? 'Undone' : 'Done again'}: ${answer.what}.`, ...(answer.warnings ?? [])].join(' '));
    await refresh();
}

/** Ctrl+Z and Ctrl+Shift+Z or Ctrl+Y, but where text is typed, which has an undo of its own. @param {KeyboardEvent} event */
function onKey(event) {
    if (!(event.ctrlKey || event.metaKey) || event.altKey || event.target.closest('input:not([type="radio"], [type="checkbox"]), textarea, dialog')) return;
    const key = event.key.toLowerCase();
    const what = key === 'y' || (key === 'z' && event.shiftKey) ? 'redo' : key === 'z' ? 'undo' : null;
    if (!what) return;
    event.preventDefault();
    if (known.server?.[what]) step(what);
}

/** Builds it, once. */
export function startTop() {
    byId('layout').addEventListener('change', chooseLayout);
    byId('device').addEventListener('change', chooseDevice);
    byId('device').addEventListener('focus', refresh);  // what was plugged in meanwhile
    byId('undo').addEventListener('click', () => step('undo'));
    byId('redo').addEventListener('click', () => step('redo'));
    for (const id of ['undo', 'redo']) byId(id).addEventListener('pointerenter', addTime);
    document.addEventListener('keydown', onKey);
    onChange(['server', 'device'], draw);
}
