// The panel of the log: its lines, the newest first, with what to do about them.

import { get } from './api.js';
import { byId, keep, make, setAttribute, setProperty, setText } from './dom.js';
import { formatCount, formatTime } from './numbers.js';

let kind = 'errors';
let shown = '';

/** @typedef {{time: string, isError: boolean, text: string, cure: string}} Entry */

function create(entry) {
    const row = make('li', { 'data-error': entry.isError ? 'true' : null },
        make('time', { datetime: entry.time }, formatTime(entry.time)), make('span', { class: 'mark' }, entry.isError ? 'Error' : ''),
        make('div', { class: 'text' }, make('p', {}, entry.text, entry.program ? make('span', { class: 'hint' }, ` ${entry.program}`) : null), entry.cure ? make('p', { class: 'cure' }, entry.cure) : null));
    setAttribute(row.children[1], 'aria-hidden', entry.isError ? null : 'true');
    return row;
}

/** Keys that stay with a line while others come: equal lines are counted. @param {Entry[]} entries */
function withKeys(entries) {
    const counts = new Map();
    return entries.map((entry) => {
        const text = JSON.stringify([entry.time, entry.text]);
        counts.set(text, (counts.get(text) ?? 0) + 1);
        return { ...entry, key: `${text}${counts.get(text)}` };
    });
}

function draw(entries) {
    keep(byId('log-lines'), withKeys(entries).reverse(), ({ key }) => key, create);
    setProperty(byId('log-none'), 'hidden', entries.length > 0);
    setText(byId('log-none'), kind === 'errors' ? 'No errors are in the log.' : 'The log is empty: no game has started yet.');
    setText(byId('log-count'), entries.length ? formatCount(entries.length) : '');
}

/** Asks for the log, and draws it where it has changed. */
export async function askForLog() {
    const asked = kind;
    const { entries } = await get(`/api/log?kind=${asked}`);
    const text = asked + JSON.stringify(entries);
    if (asked !== kind || text === shown) return;
    shown = text;
    draw(entries);
}

/** Builds the panel, once. */
export function startLog() {
    for (const choice of document.querySelectorAll('input[name="log-kind"]')) {
        choice.addEventListener('change', () => {
            kind = choice.value;
            askForLog().catch(() => {});
        });
    }
}
