// A control for a setting, by what the setting may be: a switch, a choice, a number, a path. Whatever a person does is
// sent at once; the server's reason is said where it was refused.

import { post } from './api.js';
import { keep, make, makeField, setAttribute, setField, setOptions, setProperty, setText } from './dom.js';
import { attempt, say } from './notice.js';
import { formatNumber } from './numbers.js';
import { refresh } from './sync.js';

/**
 * @typedef {{kind: 'flag' | 'whole' | 'real' | 'choice' | 'path', least?: number, most?: number, choices?: string[]}} Range
 * @typedef {{name: string, value: any, default: any, meaning: string, mayBe: string, range: Range}} Setting
 * @typedef {{element: HTMLElement, update: (setting: Setting) => void}} Control
 */

/**
 * Stores a setting. @param {HTMLElement} note @param {string} name @param {string} value as a person types it
 * @param {HTMLInputElement} [field] keeps what is refused, marked
 */
export async function sendSetting(note, name, value, field) {
    const answer = await attempt(note, () => post('/api/setting', { name, value }));
    if (answer?.warnings?.length) say(note, answer.warnings.join(' '), 'warning');
    if (field && !answer) setAttribute(field, 'aria-invalid', 'true');
    await refresh();
}

/** A value as text, a number by the person's language. */
export const textOfValue = (value) => (typeof value === 'number' ? formatNumber(value, 6) :
    typeof value === 'boolean' ? (value ? 'On' : 'Off') : value === '' ? 'none' : String(value));

/** @returns {Control} */
function makeSwitch({ name }, label, send) {
    const box = make('input', { type: 'checkbox', role: 'switch', 'aria-label': label ?? name,
        onchange: () => send(box.checked ? 'True' : 'False') });
    return { element: box, update: ({ value }) => setProperty(box, 'checked', value === true) };
}

/** @returns {Control} */
function makeSelect({ name }, label, send) {
    const select = make('select', { 'aria-label': label ?? name, onchange: () => send(select.value) });
    return { element: select, update: ({ value, range }) =>
        setOptions(select, range.choices.map((choice) => ({ value: choice, text: choice })), String(value)) };
}

/** @returns {Control} */
function makeText({ name, range }, label, send) {
    const field = makeField({ 'aria-label': label ?? name, class: 'number',
        inputmode: range.kind === 'whole' ? 'numeric' : null }, (text) => send(text, field));
    return { element: field, update: ({ value }) =>
        setField(field, typeof value === 'number' ? formatNumber(value, 6) : String(value)) };
}

/** A path is chosen on the command line alone, so that no page names files. @returns {Control} */
function makePath({ name }) {
    const value = make('span');
    const command = make('code', {}, `tessarune-config set ${name} PATH`);
    return { element: make('span', { class: 'path' }, value, ' ', command), update: (item) => setText(value, textOfValue(item.value)) };
}

/** Few choices side by side. @returns {Control} */
function makeSegments({ name }, label, send) {
    const group = make('div', { class: 'segments', role: 'radiogroup', 'aria-label': label ?? name });
    const create = (choice) => make('label', {}, make('input', { type: 'radio', name: `setting-${name}`, value: choice,
        onchange: () => send(choice) }), make('span', {}, choice));
    return { element: group, update: ({ value, range }) =>
        keep(group, choicesOf(range), (choice) => choice, create,
            (item, choice) => setProperty(item.firstChild, 'checked', choice === String(value))) };
}

/** The choices of a range, also of a short one of whole numbers. @param {Range} range @returns {string[]} */
const choicesOf = ({ choices, least, most }) =>
    choices ?? Array.from({ length: most - least + 1 }, (_, i) => String(least + i));

const makers = { flag: makeSwitch, choice: makeSelect, whole: makeText, real: makeText, path: makePath };

/**
 * @param {Setting} setting @param {HTMLElement} note where a refusal is said
 * @param {{label?: string, isSegmented?: boolean}} [how] @returns {Control}
 */
export function makeControl(setting, note, { label, isSegmented = false } = {}) {
    const create = isSegmented ? makeSegments : makers[setting.range.kind] ?? makeText;
    const control = create(setting, label, (value, field) => sendSetting(note, setting.name, value, field));
    control.update(setting);
    return control;
}

/** A line that names a control and says what it is for. @param {string} label @param {HTMLElement} element */
export function makeLine(label, element, explanation = '') {
    const text = make('span', { class: 'hint' });
    setText(text, explanation);
    return make('div', { class: 'line' }, make('span', { class: 'name', 'aria-hidden': 'true' }, label),
        make('div', { class: 'control' }, element, text));
}
