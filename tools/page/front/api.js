// The requests to the page's server: the token, errors as sentences, and jobs. Knows no panel.

const tokenKey = 'tessarune-token';
let token = '';
let runningJob = 0;

/** What the server refused; the message is a sentence for a person. */
export class Refused extends Error {
    /** @param {string} message @param {number} status @param {number} [job] the one that runs instead */
    constructor(message, status, job = 0) {
        super(message);
        this.status = status;
        this.job = job;
    }
}

/** The server doesn't answer any more. */
export class Gone extends Error {}

/** A person cancelled the job. */
export class Cancelled extends Error {}

/** Takes the token out of the address, so that it stands in no history; a reload finds it. @returns {boolean} there is one */
export function takeToken() {
    const found = /(?:^#|&)token=([0-9a-f]{32})\b/i.exec(location.hash);
    if (found) {
        sessionStorage.setItem(tokenKey, found[1]);
        history.replaceState(null, '', location.pathname + location.search);
    }
    token = sessionStorage.getItem(tokenKey) ?? '';
    return token !== '';
}

/** Forgets a token that isn't right any more. */
export function dropToken() {
    sessionStorage.removeItem(tokenKey);
    token = '';
}

/** @param {number} status @param {string} text @returns {any} the answer */
function readAnswer(status, text) {
    let answer;
    try {
        answer = JSON.parse(text);
    } catch {
        throw new Refused(`The server answered with status ${status} and no JSON.`, status);
    }
    if (status >= 400) throw new Refused(answer.error ?? `The server answered with status ${status}.`, status, answer.job);
    return answer;
}

/** @param {string} method @param {string} path @param {RequestInit} [more] */
async function request(method, path, more = {}) {
    let response;
    try {
        response = await fetch(path, { method, cache: 'no-store', ...more,
            headers: { 'X-Tessarune-Token': token, ...more.headers } });
    } catch (error) {
        throw error.name === 'AbortError' ? error : new Gone('The server doesn\'t answer.');
    }
    return readAnswer(response.status, await response.text());
}

/** @param {string} path @returns {Promise<any>} */
export const get = (path) => request('GET', path);

/** @param {string} path @param {object} [body] @param {RequestInit} [more] @returns {Promise<any>} */
export const post = (path, body = {}, more = {}) =>
    request('POST', path, { body: JSON.stringify(body), headers: { 'Content-Type': 'application/json' }, ...more });

/** Tells the server that the page is left; it doesn't wait for an answer. */
export const leave = () => { if (token) post('/api/leave', {}, { keepalive: true }).catch(() => {}); };

/** @typedef {(share: number, text: string) => void} OnStep share of 1, below 0 where it isn't known */

/** Sends a file. @param {string} path @param {Blob} file @param {OnStep} onStep @returns {Promise<any>} */
function sendFile(path, file, onStep) {
    return new Promise((resolve, reject) => {
        const sending = new XMLHttpRequest();
        sending.open('POST', path);
        sending.setRequestHeader('X-Tessarune-Token', token);
        sending.setRequestHeader('Content-Type', 'application/octet-stream');
        sending.upload.onprogress = (event) => onStep(event.loaded / event.total, 'sending the file');
        sending.onerror = () => reject(new Gone('The server doesn\'t answer.'));
        sending.onload = () => {
            try {
                resolve(readAnswer(sending.status, sending.responseText));
            } catch (error) {
                reject(error);
            }
        };
        sending.send(file);
    });
}

const pause = (milliseconds) => new Promise((resolve) => { setTimeout(resolve, milliseconds); });

/** Waits for a job's end. @param {number} job @param {OnStep} onStep @returns {Promise<any>} its answer */
async function waitForJob(job, onStep) {
    for (let wait = 40; ; wait = Math.min(wait * 1.5, 250)) {
        const now = await get(`/api/job?id=${job}`);
        if (now.state === 'done') return now.answer ?? {};
        if (now.state === 'failed') throw new Refused(now.error, 500);
        if (now.state === 'cancelled') throw new Cancelled('Cancelled.');
        onStep(now.share, now.text);
        await pause(wait);
    }
}

/**
 * Starts a job, and waits for its end. @param {string} path @param {object | Blob} body @param {OnStep} onStep
 * @returns {Promise<any>} the job's answer; throws Cancelled
 */
export async function runJob(path, body, onStep) {
    const started = body instanceof Blob ? await sendFile(path, body, onStep) : await post(path, body);
    runningJob = started.job;
    try {
        return await waitForJob(started.job, onStep);
    } finally {
        runningJob = 0;
    }
}

/** Ends the job that this page started, if one runs. */
export async function cancelJob() {
    if (runningJob) await post('/api/job/cancel', { job: runningJob });
}
