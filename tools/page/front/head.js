// The panel of heads and headphones: which head headphones play by, which correction they get, and adding both.

import { post } from './api.js';
import { byId, keep, make, setAttribute, setProperty, setText } from './dom.js';
import { attempt, confirm, runWithProgress, say } from './notice.js';
import { formatNumber, parseNumber } from './numbers.js';
import { refresh } from './sync.js';
import { known, layout, onChange } from './state.js';

const note = () => byId('head-note');

/** @typedef {{tag?: string, name: string, isOwn: boolean, isUsed: boolean, description?: string}} Item */

async function act(path, body) {
    const answer = await attempt(note(), () => post(path, body));
    if (answer?.warnings?.length) say(note(), answer.warnings.join(' '), 'warning');
    await refresh();
}

/** What a list has room for; the rest, as who measured a head, is shown when it is pointed at. @param {string} text */
const firstSentence = (text) => /^.*?[.:](?=\s|$)/.exec(text)?.[0].replace(/:$/, '.') ?? text;

/** A list of which one is in use. @param {string} id of the list @param {Item[]} items @param {(item: Item) => void} use @param {string} kind "head" */
function drawList(id, items, use, kind) {
    const create = (item) => {
        const choice = make('input', { type: 'radio', name: id, onchange: () => use(row.item) });
        const remove = make('button', { type: 'button', class: 'icon quiet', 'aria-label': `Remove ${item.name}`,
            title: `Remove ${item.name}`, onclick: () => removeItem(kind, row.item, id) }, '×');
        const row = make('li', {}, make('label', {}, choice, make('span', { class: 'what' }, item.name), make('span', { class: 'hint' })), remove);
        row.parts = { choice, remove, hint: row.querySelector('.hint') };
        return row;
    };
    keep(byId(id), items, ({ tag, name }) => tag ?? name, create, (row, item) => {
        row.item = item;
        setProperty(row.parts.choice, 'checked', item.isUsed);
        setProperty(row.parts.remove, 'hidden', !item.isOwn);
        setText(row.parts.hint, firstSentence(item.description ?? ''));
        setAttribute(row, 'title', item.description);
    });
}

async function removeItem(kind, item, id) {
    if (!(await confirm(`Remove “${item.name}”?`, 'Remove'))) return;
    await act(`/api/${kind}/remove`, { name: item.name });
    byId(id).querySelector('input')?.focus();
}

function draw() {
    const { heads = [], headphones = [] } = known.server ?? {};
    drawList('heads', heads, ({ name }) => act('/api/head/use', { name }), 'head');
    const off = { tag: ' off', name: 'None', isOwn: false, isUsed: !headphones.some(({ isUsed }) => isUsed), description: 'no correction' };
    drawList('headphones', [off, ...headphones],
        (item) => (item === off || item.tag === ' off' ? act('/api/headphones/off', {}) : act('/api/headphones/use', { name: item.name })), 'headphones');
    setProperty(byId('head-unused'), 'hidden', known.server === null || layout()?.isHeadphones === true);
    setProperty(byId('head-add'), 'disabled', known.isBusy);
}

/** Shows or folds a form. @param {string} button @param {string} form */
function unfold(button, form) {
    const show = (isShown) => {
        setProperty(byId(form), 'hidden', !isShown);
        setAttribute(byId(button), 'aria-expanded', String(isShown));
    };
    byId(button).addEventListener('click', () => {
        show(byId(form).hidden);
        if (!byId(form).hidden) byId(form).querySelector('input, textarea').focus();
    });
    byId(form).addEventListener('reset', () => { show(false); byId(button).focus(); });
    return show;
}

/** A name out of a file's. @param {string} name */
const nameOfFile = (name) => name.replace(/\.[^.]*$/, '').replace(/[_]+/g, ' ').trim().slice(0, 40);

/** A circumference as the server takes it, in cm where no unit stands. Null for what is none. @param {string} text */
function parseCircumference(text) {
    const [, number, unit] = /^(.*?)\s*(cm|mm|in)?$/i.exec(text.trim());
    const value = parseNumber(number);
    return value === null ? null : `${value}${(unit ?? 'cm').toLowerCase()}`;
}

async function addHead(event, show) {
    event.preventDefault();
    const file = byId('head-file').files[0], name = byId('head-name').value.trim(), size = byId('head-size').value.trim();
    if (!file || !name) {
        say(note(), 'A head needs a SOFA file and a name.', 'error');
        return;
    }
    const query = new URLSearchParams({ name });
    if (size) {
        const circumference = parseCircumference(size);
        if (!circumference) {
            say(note(), `A circumference is a number in cm, mm or in, such as ${formatNumber(57.5)} cm. “${size}” is none.`, 'error');
            return;
        }
        query.set('circumference', circumference);
    }
    const answer = await runWithProgress(note(), `Adding ${name}`, `/api/head?${query}`, file);
    if (!answer) return;
    event.target.reset();
    show(false);
    await refresh();
    say(note(), [`“${answer.name ?? name}” is the head that headphones play by.`, ...(answer.warnings ?? [])].join(' '));
}

async function addHeadphones(event, show) {
    event.preventDefault();
    const name = byId('headphones-name').value.trim(), text = byId('headphones-text').value;
    if (!name || !text.trim()) {
        say(note(), 'Headphones need a name and the text of their filters.', 'error');
        return;
    }
    if (!(await attempt(note(), () => post('/api/headphones', { name, text })))) return;
    event.target.reset();
    show(false);
    await refresh();
    say(note(), `The correction for “${name}” is in your library.`);
}

/** Builds the panel, once. */
export function startHead() {
    const showHead = unfold('head-add', 'head-form'), showHeadphones = unfold('headphones-add', 'headphones-form');
    byId('head-form').addEventListener('submit', (event) => addHead(event, showHead));
    byId('headphones-form').addEventListener('submit', (event) => addHeadphones(event, showHeadphones));
    byId('head-file').addEventListener('change', ({ target }) => {
        if (target.files[0] && !byId('head-name').value) byId('head-name').value = nameOfFile(target.files[0].name);
    });
    byId('headphones-file').addEventListener('change', async ({ target }) => {
        if (!target.files[0]) return;
        byId('headphones-text').value = await target.files[0].text();
        if (!byId('headphones-name').value) byId('headphones-name').value = nameOfFile(target.files[0].name);
    });
    onChange(['server', 'isBusy'], draw);
}
