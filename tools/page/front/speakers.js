// The panel of the speakers: one row for each, with its place, output, gain and test; and what makes a room of them.

import { post } from './api.js';
import { askForFile, byId, keep, make, makeField, setAttribute, setAttributes, setField, setOptions, setProperty, setText } from './dom.js';
import { addSpeaker, applyRequest, connectInDraft, discardDraft, editSpeaker, removeSpeaker, renameDraft, startDraft } from './draft.js';
import { attempt, confirm, focusSection, mayReplaceDraft, runWithProgress, say } from './notice.js';
import { formatNumber, gainInDecibels, parseGain, parseNumber } from './numbers.js';
import { roundTo, withCoordinate } from './room.js';
import { refresh } from './sync.js';
import { change, isMeasured, isRoom, known, layout, onChange, shownSpeakers } from './state.js';
import { keepOutputs } from './wiring.js';

const coordinates = [
    { name: 'azimuth', head: 'az', step: 1, digits: 1, title: 'Azimuth', unit: 'degrees to the left of straight ahead', example: 30 },
    { name: 'elevation', head: 'el', step: 1, digits: 1, title: 'Elevation', unit: 'degrees up', example: 10 },
    { name: 'distance', head: 'dist', step: 0.1, digits: 2, title: 'Distance', unit: 'metres', example: 2.4 },
];
const types = [{ value: 'Normal', text: 'Normal' }, { value: 'Small', text: 'Small' }, { value: 'Sub-Woofer', text: 'Sub' }];
const note = () => byId('speakers-note');
const indexOf = (element) => Number(element.closest('tr').dataset.speaker);

/** Refuses what was typed, and says what is wanted. */
function refuseField(field, text) {
    setAttribute(field, 'aria-invalid', 'true');
    say(note(), text, 'error');
}

function commitCoordinate({ name, title, unit, example }, index, text, field) {
    if (text.trim() === '' && field.shownValue === '') return;
    const value = parseNumber(text);
    if (value === null) {
        refuseField(field, `${title} is a number, in ${unit}, such as ${formatNumber(example)}. “${text}” is none.`);
        return;
    }
    say(note(), '');
    const { azimuth, elevation, distance } = shownSpeakers()[index];
    editSpeaker(index, withCoordinate({ azimuth, elevation, distance }, name, value));
    drawRows();
}

/** A field whose arrows up and down change it by a step, with Shift by five. */
function makeCoordinate(coordinate) {
    const { name, step, digits } = coordinate;
    const field = makeField({ inputmode: 'decimal', class: 'number', placeholder: name === 'distance' ? '–' : null },
        (text, self) => commitCoordinate(coordinate, indexOf(self), text, self));
    field.addEventListener('keydown', (event) => {
        const way = { ArrowUp: 1, ArrowDown: -1 }[event.key];
        if (!way) return;
        event.preventDefault();
        const value = parseNumber(field.value) ?? shownSpeakers()[indexOf(field)][name];
        const moved = roundTo(value + way * step * (event.shiftKey ? 5 : 1), 0.01);
        field.isTouched = false;
        setAttribute(field, 'aria-invalid', null);
        commitCoordinate(coordinate, indexOf(field), formatNumber(moved, digits), field);
    });
    return field;
}

/** A change of the wiring, which is heard at once; in a draft it waits for Apply. */
async function sendSpeaker(index, fields) {
    const { number } = layout().speakers[index];
    const answer = await attempt(note(), () => post('/api/speaker', { speaker: number, ...fields, force: false }));
    if (answer?.warnings?.length) say(note(), answer.warnings.join(' '), 'warning');
    await refresh();
}

/** Connects a speaker to an output, whose speaker gets the old one. @param {number} index @param {string} output */
async function connect(index, output) {
    if (known.draft) connectInDraft(index, output);
    else if (layout().speakers[index].output !== output) await sendSpeaker(index, { output });
    drawRows();
}

async function commitGain(index, text, field) {
    const gain = parseGain(text);
    if (gain === null || gain > 16) {
        refuseField(field, `A gain is a number from 0 to 16, or in decibels, such as −6 dB. “${text}” is none.`);
        return;
    }
    say(note(), '');
    if (known.draft) editSpeaker(index, { gain });
    else await sendSpeaker(index, { gain });
    drawRows();
}

function createRow() {
    const label = makeField({ class: 'label' }, (text, self) => editSpeaker(indexOf(self), { label: text.trim() || self.defaultValue }));
    const type = make('select', { onchange: () => editSpeaker(indexOf(type), { type: type.value }) });
    const output = make('select', { class: 'output', onchange: () => connect(indexOf(output), output.value) });
    const gain = makeField({ inputmode: 'text', class: 'number' }, (text, self) => commitGain(indexOf(self), text, self));
    const test = make('button', { type: 'button', class: 'icon test', onclick: () => playTest(indexOf(test)) });
    const remove = make('button', { type: 'button', class: 'icon quiet', onclick: () => dropRow(indexOf(remove)) }, '×');
    const fields = coordinates.map(makeCoordinate);
    const cell = (name, ...children) => make('td', { 'data-head': name }, ...children);
    const row = make('tr', {}, make('th', { scope: 'row', class: 'index' }), cell('name', label),
        ...coordinates.map(({ head }, i) => cell(head, fields[i])), cell('type', type), cell('out', output), cell('gain', gain),
        cell('', test), cell('', remove));
    row.addEventListener('focusin', () => change({ chosen: Number(row.dataset.speaker) }));
    row.parts = { label, type, output, gain, test, remove, fields };
    return row;
}

function dropRow(index) {
    removeSpeaker(index);
    const rows = byId('speaker-rows').children;
    (rows[Math.min(index, rows.length - 1)]?.parts.remove ?? byId('speaker-add')).focus();
}

/** The outputs that a speaker may have; one that the device hasn't got stays listed as what it is. */
function outputOptions(speaker) {
    const outputs = layout()?.outputs ?? [];
    const isKnown = !speaker.output || outputs.includes(speaker.output);
    return [...(speaker.output ? [] : [{ value: '', text: known.draft ? 'by its name' : 'none' }]),
        ...outputs.map((name) => ({ value: name, text: name })),
        ...(isKnown ? [] : [{ value: speaker.output, text: `${speaker.output} (not there)` }])];
}

function updateRow(row, speaker, index) {
    const { label, type, output, gain, test, remove, fields } = row.parts;
    const name = speaker.label || `speaker ${index + 1}`, isPlace = isRoom();
    setAttributes(row, { 'data-speaker': index, 'data-chosen': known.chosen === index ? 'true' : null });
    setText(row.children[0], index + 1);
    setField(label, speaker.label);
    setAttribute(label, 'aria-label', `Name of speaker ${index + 1}`);
    coordinates.forEach(({ name: coordinate, digits, title, unit }, i) => {
        const isKnown = coordinate !== 'distance' || isMeasured();
        setField(fields[i], isKnown ? formatNumber(speaker[coordinate], digits) : '');
        setAttribute(fields[i], 'aria-label', `${title} of ${name}, ${unit}`);
    });
    setOptions(type, types, speaker.type);
    setAttribute(type, 'aria-label', `Type of ${name}`);
    setOptions(output, outputOptions(speaker), speaker.output ?? '');
    setAttribute(output, 'aria-label', `Output of ${name}`);
    setField(gain, formatNumber(speaker.gain ?? 1, 3));
    setAttributes(gain, { 'aria-label': `Gain of ${name}`, title: gainInDecibels(speaker.gain ?? 1) });
    setText(test, '▶');
    setAttributes(test, { 'aria-label': `Test ${name}`, title: `Test ${name}` });
    setAttributes(remove, { 'aria-label': `Remove ${name}`, title: `Remove ${name}` });
    for (const field of [label, type, remove, ...fields]) setProperty(field, 'disabled', !isPlace);
    setProperty(test, 'disabled', known.draft !== null || known.isBusy);
}

function drawRows() {
    keep(byId('speaker-rows'), shownSpeakers(), (speaker, i) => speaker.key ?? `n${i}`, createRow, updateRow);
    keepOutputs(byId('outputs'), layout()?.outputs ?? [], shownSpeakers(), connect);
}

function draw() {
    const now = layout(), isDraft = known.draft !== null;
    drawRows();
    setProperty(byId('speaker-table'), 'hidden', shownSpeakers().length === 0);
    setProperty(byId('draft-bar'), 'hidden', !isDraft);
    setField(byId('draft-name'), known.draft?.name ?? '');
    setProperty(byId('draft-apply'), 'disabled', known.isBusy);
    setProperty(byId('test-all'), 'disabled', known.isBusy || isDraft || now === null);
    setProperty(byId('room-remove'), 'hidden', isDraft || !now?.isOwn || now.isHeadphones);
    const warnings = isDraft ? [] : now?.warnings ?? [];
    keep(byId('speaker-warnings'), warnings, (text) => text, (text) => make('li', {}, text));
    setProperty(byId('speaker-warnings'), 'hidden', warnings.length === 0);
}

/** @param {number} index of the speaker, below 0 for all in turn */
async function playTest(index) {
    const isDirect = byId('test-direct').checked, isNoise = byId('test-noise').checked;
    const what = index < 0 ? 'Playing all' : `Playing ${layout().speakers[index].label}`;
    await runWithProgress(note(), what, '/api/test', { speaker: index < 0 ? 0 : layout().speakers[index].number,
        direct: isDirect, noise: isNoise, seconds: 2 });
}

async function apply() {
    const name = byId('draft-name').value.trim();
    if (name === '') {
        refuseField(byId('draft-name'), 'A room needs a name, by which it is in the list of layouts.');
        return;
    }
    setAttribute(byId('draft-name'), 'aria-invalid', null);
    renameDraft(name);
    const answer = await runWithProgress(note(), 'Applying', '/api/room/apply', applyRequest(known.device));
    if (!answer) return;
    await refresh();
    discardDraft();
    say(note(), [`“${answer.layout}” is in force.`, ...(answer.warnings ?? [])].join(' '),
        answer.warnings?.length ? 'warning' : 'good');
    focusSection(note());
}

async function importRoom() {
    const file = await askForFile('.txt,.json,text/plain,application/json');
    if (!file || !(await mayReplaceDraft())) return;
    const room = await attempt(note(), async () => post('/api/room/import', { name: file.name, text: await file.text() }));
    if (!room) return;
    startDraft(room);
    say(note(), `“${room.name}” has ${room.speakers.length} speakers. It is a draft until you apply it.`);
}

async function removeRoom() {
    const { name } = layout();
    if (!(await confirm(`Remove the room “${name}” and its decoders?`, 'Remove'))) return;
    if (await attempt(note(), () => post('/api/room/remove', { name }))) {
        say(note(), `“${name}” is removed. Undo brings it back.`);
        focusSection(note());
    }
    await refresh();
}

/** Builds the panel, once. */
export function startSpeakers() {
    byId('speaker-add').addEventListener('click', () => {
        addSpeaker();
        byId('speaker-rows').lastElementChild.parts.label.select();
    });
    byId('room-import').addEventListener('click', importRoom);
    byId('room-remove').addEventListener('click', removeRoom);
    byId('draft-apply').addEventListener('click', apply);
    byId('draft-discard').addEventListener('click', () => {
        discardDraft();
        say(note(), '');
        focusSection(note());
    });
    byId('test-all').addEventListener('click', () => playTest(-1));
    byId('draft-name').addEventListener('change', (event) => {
        if (event.target.value.trim()) renameDraft(event.target.value.trim());
    });
    onChange(['server', 'draft', 'chosen', 'isBusy'], draw);
}
