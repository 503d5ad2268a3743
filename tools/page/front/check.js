// The check of all that the sound depends on: a word of it in the page's head, all of it in a dialog.

import { get } from './api.js';
import { byId, keep, make, setAttribute, setProperty, setText } from './dom.js';
import { attempt } from './notice.js';
import { formatFixed, formatNumber } from './numbers.js';
import { known, onChange } from './state.js';

let checked = '';  // the revision that was checked last
let result = null;
let timer = 0;

const calm = 1500;  // milliseconds without another change, since a check asks the sound server

function word() {
    if (!result) return 'checking';
    const wrong = result.findings.filter(({ isFine }) => !isFine).length;
    return wrong === 0 ? 'fine' : wrong === 1 ? '1 thing is wrong' : `${formatNumber(wrong)} things are wrong`;
}

function drawWord() {
    setText(byId('check-word'), word());
    setAttribute(byId('check'), 'data-kind', !result ? null : result.isFine ? 'good' : 'warning');
}

const createFinding = () => make('li', {}, make('span', { class: 'mark' }), make('div', {}, make('strong'), ' ', make('span'), make('code')));

function updateFinding(row, { title, isFine, text, remedy }) {
    const [mark, body] = row.children;
    setAttribute(row, 'data-kind', isFine ? 'good' : 'warning');
    setText(mark, isFine ? 'fine' : 'wrong');
    setText(body.children[0], title);
    setText(body.children[1], text);
    setText(body.children[2], remedy);
    setProperty(body.children[2], 'hidden', !remedy);
}

/** What a start would come to. @returns {[string, string][]} */
function factsOf({ device, layout, rate, blockFrames, latencyFrames, order }) {
    const milliseconds = (frames) => `${formatFixed((1000 * frames) / rate, 1)} ms`;
    return [['Device', device], ['Layout', layout], ['Order', formatNumber(order)], ['Rate', `${formatNumber(rate)} Hz`],
        ['Block', `${formatNumber(blockFrames)} frames, ${milliseconds(blockFrames)}`],
        ['Latency', `${formatNumber(latencyFrames)} frames, ${milliseconds(latencyFrames)}`]];
}

function drawDialog() {
    if (!result) return;
    keep(byId('findings'), result.findings, (_, i) => i, createFinding, updateFinding);
    const { error = '', lines = [] } = result.start;
    setText(byId('start-error'), error);
    keep(byId('start-facts'), error ? [] : factsOf(result.start), ([name]) => name, ([name]) => make('div', {}, make('dt', {}, name), make('dd')),
        (item, [, value]) => setText(item.lastChild, value));
    keep(byId('start-lines'), lines, (_, i) => i, () => make('li'), (item, { text, isError }) => {
        setText(item, text);
        setAttribute(item, 'data-error', isError ? 'true' : null);
    });
}

async function runCheck() {
    clearTimeout(timer);
    checked = known.server?.revision ?? '';
    const fresh = await attempt(byId('check-note'), () => get('/api/check'));
    if (fresh) result = fresh;
    drawWord();
    drawDialog();
}

/** Builds it, once; checks anew when something has changed. */
export function startCheck() {
    byId('check').addEventListener('click', () => {
        byId('check-dialog').showModal();
        runCheck();
    });
    byId('check-close').addEventListener('click', () => byId('check-dialog').close());
    drawWord();
    onChange(['server'], () => {
        if (!known.server || known.server.revision === checked) return;
        clearTimeout(timer);
        timer = setTimeout(runCheck, result ? calm : 0);
    });
}
