// The folded list of all other settings, and all settings as one file.

import { get, post } from './api.js';
import { askForFile, byId, download, keep, later, make, setAttribute, setProperty, setText } from './dom.js';
import { makeControl, sendSetting, textOfValue } from './control.js';
import { attempt, say } from './notice.js';
import { namesInQuality } from './quality.js';
import { refresh } from './sync.js';
import { known, onChange } from './state.js';
import { namesInTracker } from './tracker.js';

const note = () => byId('settings-note');
const shownElsewhere = [...namesInQuality, ...namesInTracker];

/** A setting as it is sent. */
const typed = (value) => (typeof value === 'boolean' ? (value ? 'True' : 'False') : String(value));

function create(item) {
    const control = makeControl(item, note());
    const back = make('button', { type: 'button', class: 'quiet', onclick: () => { sendSetting(note(), item.name, typed(row.setting.default)); row.querySelector('input, select')?.focus(); } });
    const row = make('div', { class: 'setting' }, make('div', { class: 'name' }, item.name, make('span', { class: 'hint' })),
        make('div', { class: 'control' }, control.element, back));
    row.parts = { control, back, hint: row.querySelector('.hint') };
    return row;
}

function update(row, item) {
    row.setting = item;
    const { control, back, hint } = row.parts;
    control.update(item);
    setText(hint, ['whole', 'real'].includes(item.range.kind) ? `${item.meaning}; ${item.mayBe}` : item.meaning);
    setAttribute(row, 'title', item.advice);
    setText(back, `Default: ${textOfValue(item.default)}`);
    setAttribute(back, 'aria-label', `Default: ${textOfValue(item.default)}, for ${item.name}`);
    setProperty(back, 'hidden', item.value === item.default || item.range.kind === 'path');
}

function draw() {
    const others = (known.server?.settings ?? []).filter(({ name }) => !shownElsewhere.includes(name));
    const changed = others.filter((item) => item.value !== item.default).length;
    setText(byId('settings-count'), `${others.length}, ${changed === 0 ? 'all as by default' : `${changed} changed`}`);
    keep(byId('setting-list'), others, ({ name }) => name, create, update);
}

async function exportAll() {
    const file = await attempt(byId('file-note'), () => get('/api/export'));
    if (file) download(file.name, file.text);
}

async function importAll() {
    const file = await askForFile('.sxml,.xml,text/*');
    if (!file) return;
    const answer = await attempt(byId('file-note'), async () => post('/api/import', { text: await file.text() }));
    if (answer) say(byId('file-note'), ['The settings were taken over. Undo brings the old ones back.', ...(answer.warnings ?? [])].join(' '),
        answer.warnings?.length ? 'warning' : 'good');
    await refresh();
}

/** Builds the list, once. */
export function startSettings() {
    byId('export-all').addEventListener('click', exportAll);
    byId('import-all').addEventListener('click', importAll);
    onChange(['server'], () => later(draw));
}
