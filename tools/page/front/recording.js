// Recording what a game renders: the part of a running game's card that starts and ends it.

import { post } from './api.js';
import { make, setOptions, setProperty, setText } from './dom.js';
import { attempt, say } from './notice.js';
import { formatDuration } from './numbers.js';

const whats = [{ value: 'field', text: 'Sound field' }, { value: 'output', text: 'Output' }, { value: 'both', text: 'Both' }];
const names = { field: 'the sound field', output: 'the output', both: 'the sound field and the output' };
const patience = 4;  // seconds, within which a game begins

/** A name that no other recording has. @param {string} program @param {Date} now */
function freshName(program, now) {
    const pad = (number) => String(number).padStart(2, '0');
    const day = [now.getFullYear(), pad(now.getMonth() + 1), pad(now.getDate())].join('-');
    return `${program.replace(/^\.+|\//g, '').slice(0, 32)} ${day} ${[now.getHours(), now.getMinutes(), now.getSeconds()].map(pad).join('.')}.wav`;
}

/** What goes on. @param {{recording: {what: string, file: string, seconds: number}, recordsField: boolean, recordsOutput: boolean}} game */
function stateText({ recording: { what, file, seconds }, recordsField, recordsOutput }) {
    if (recordsField || recordsOutput) return `Recording ${names[what]} into ${file}, for ${formatDuration(seconds)}.`;
    return seconds < patience ? `Recording ${names[what]} into ${file} within two seconds.` :
        `${file} was asked for, but nothing is recorded. The log says why.`;
}

/** @param {{pid: number, program: string}} game @returns {{element: HTMLElement, update: (game: any) => void}} */
export function makeRecording({ pid, program }) {
    const what = make('select', { 'aria-label': `What to record of ${program}` });
    setOptions(what, whats, 'field');
    const name = make('input', { type: 'text', autocomplete: 'off', spellcheck: 'false', maxlength: 64, class: 'file',
        'aria-label': `File for a recording of ${program}`, placeholder: 'file name, .wav or .caf' });
    const stop = make('button', { type: 'button', 'aria-label': `Stop recording ${program}` }, 'Stop');
    const form = make('form', { class: 'row' }, make('button', { 'aria-label': `Record ${program}` }, 'Record'), what, name);
    const state = make('span', { class: 'file' });
    const running = make('p', { class: 'row', hidden: true }, stop, state);
    const note = make('p', { class: 'note', role: 'status' });
    const element = make('div', { class: 'recording' }, form, running, note);

    function update(game) {
        const isAsked = Boolean(game.recording), hadFocus = element.contains(document.activeElement);
        const hasChanged = running.hidden === isAsked;
        setProperty(form, 'hidden', isAsked || game.contextsAlive === 0);
        setProperty(running, 'hidden', !isAsked);
        if (isAsked) setText(state, stateText(game));
        if (hasChanged && hadFocus) (isAsked ? stop : form.firstChild).focus();
    }
    form.addEventListener('submit', async (event) => {
        event.preventDefault();
        const body = { pid, what: what.value, name: name.value.trim() || freshName(program, new Date()) };
        const answer = await attempt(note, () => post('/api/record/start', body));
        if (!answer) return;
        name.value = '';
        update({ contextsAlive: 1, recording: { what: body.what, file: answer.file, seconds: 0 } });
    });
    stop.addEventListener('click', async () => {
        const answer = await attempt(note, () => post('/api/record/stop', { pid }));
        if (answer) say(note, answer.wasAsked ? 'The recording ends within two seconds; the log says what is in it.' : 'Nothing is being recorded.');
    });
    return { element, update };
}
