// What is said to a person: a note where something was done or refused, progress of a long work, questions, and the
// banner for what concerns the whole page.

import { Cancelled, Gone, Refused, cancelJob, runJob } from './api.js';
import { byId, make, setAttribute, setProperty, setText } from './dom.js';
import { change, known } from './state.js';

/** @typedef {'good' | 'warning' | 'error'} Kind */

/**
 * Says something in a panel's note; an empty text takes it away. @param {HTMLElement} note an element with role status
 * @param {string} text @param {Kind} [kind]
 */
export function say(note, text, kind = 'good') {
    setText(note, text);
    setAttribute(note, 'data-kind', kind);
}

/** Whether the whole page can't go on after this error; then the banner has said so. @type {(error: Error) => boolean} */
let isEnd = () => false;

/** @param {(error: Error) => boolean} judge */
export function onEnd(judge) {
    isEnd = judge;
}

/**
 * Does something that the server may refuse; the reason is said in the note. @template T
 * @param {HTMLElement} note @param {() => Promise<T>} act @returns {Promise<T | undefined>} undefined where it failed
 */
export async function attempt(note, act) {
    try {
        say(note, '');
        return await act();
    } catch (error) {
        if (isEnd(error)) return undefined;
        if (error instanceof Cancelled) say(note, error.message);
        else if (error instanceof Refused || error instanceof Gone) say(note, error.message, 'error');
        else {
            console.error(error);
            say(note, 'The page made a mistake. Load it again.', 'error');
        }
        return undefined;
    }
}

/**
 * Runs a job with its progress in the panel, behind the note. @param {HTMLElement} note @param {string} what "Applying"
 * @param {string} path @param {object | Blob} body @returns {Promise<any>} the job's answer, undefined where there is none
 */
export async function runWithProgress(note, what, path, body) {
    const bar = make('progress', { max: 1, 'aria-label': what });
    const text = make('span', {}, what);
    const stop = make('button', { type: 'button', class: 'quiet', onclick: () => attempt(note, cancelJob) }, 'Cancel');
    const line = make('div', { class: 'progress' }, bar, text, stop);
    note.after(line);
    change({ isBusy: true });
    try {
        return await attempt(note, () => runJob(path, body, (share, step) => {
            if (share >= 0) setProperty(bar, 'value', share);
            else setAttribute(bar, 'value', null);
            setText(text, step ? `${what}: ${step}` : what);
        }));
    } finally {
        const hadFocus = line.contains(document.activeElement);
        line.remove();
        change({ isBusy: false });
        if (hadFocus) focusSection(note);
    }
}

/** Where focus goes when what had it is gone. @param {Element} near */
export function focusSection(near) {
    const section = near.closest('section, details');
    section?.querySelector('h2')?.focus();
}

/** Asks before something is lost. @param {string} question @param {string} yes @returns {Promise<boolean>} */
export function confirm(question, yes) {
    return new Promise((resolve) => {
        const dialog = make('dialog', { class: 'question', 'aria-label': question }, make('p', {}, question),
            make('form', { method: 'dialog', class: 'row' }, make('button', { value: 'yes', class: 'main' }, yes),
                make('button', { value: 'no' }, 'Cancel')));
        dialog.addEventListener('close', () => {
            dialog.remove();
            resolve(dialog.returnValue === 'yes');
        });
        document.body.append(dialog);
        dialog.showModal();
    });
}

/** Asks before a draft is replaced. @returns {Promise<boolean>} whether it may be */
export const mayReplaceDraft = async () =>
    known.draft === null || confirm(`The draft of “${known.draft.name}” isn't applied yet. Discard it?`, 'Discard');

/** Says what concerns the whole page, with a command that helps. @param {string} text @param {string} [command] */
export function showBanner(text, command = '') {
    byId('banner').replaceChildren(make('p', {}, text, ...(command ? [' ', make('code', {}, command)] : [])));
    setProperty(byId('banner'), 'hidden', false);
}
