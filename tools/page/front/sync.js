// Keeps the page up with the machine: its state when it changes, running games, and the log. Asks only while the page is
// seen. Tells once when the server is gone.

import { Gone, Refused, dropToken, get } from './api.js';
import { onEnd, showBanner } from './notice.js';
import { change, known } from './state.js';

const openCommand = 'tessarune-config page';
let hasEnded = false;
let running = null, waiting = null;  // answers of /api/state

/** Whether an error is the end of this page; then the banner says what to do. @param {Error} error */
function judge(error) {
    const isEnd = error instanceof Gone || (error instanceof Refused && error.status === 401);
    if (!isEnd || hasEnded) return isEnd;
    hasEnded = true;
    document.body.dataset.ended = 'true';
    if (error instanceof Gone) {
        showBanner('The page\'s server has ended, so nothing is changed any more. Open the page again with', openCommand);
    } else {
        dropToken();
        showBanner('This address isn\'t valid any more. Open the page again with', openCommand);
    }
    return true;
}

/** Asks for all of the state. Who asks while an answer is on its way gets the next one, which has what he changed. @returns {Promise<void>} */
export function refresh() {
    if (running) {
        waiting ??= running.then(() => { waiting = null; return refresh(); });
        return waiting;
    }
    running = get('/api/state').then((server) => change({ server })).catch((error) => {
        if (!judge(error)) showBanner(error.message);
    }).finally(() => { running = null; });
    return running;
}

const pause = (milliseconds) => new Promise((resolve) => { setTimeout(resolve, milliseconds); });

const whenSeen = () => (document.hidden ? new Promise((resolve) => {
    document.addEventListener('visibilitychange', resolve, { once: true });
}) : null);

/** Asks again and again, the next time after the answer. @param {() => number} wait milliseconds @param {() => Promise<void>} ask */
async function poll(wait, ask) {
    while (!hasEnded) {
        await whenSeen();
        try {
            await ask();
        } catch (error) {
            judge(error);
        }
        await pause(wait());
    }
}

async function askForRevision() {
    const { revision } = await get('/api/revision');
    if (revision !== known.server?.revision) await refresh();
}

async function askForGames() {
    const { games } = await get('/api/games');
    if (games.length > 0 || known.games.length > 0) change({ games });
}

/** Begins with the state, and goes on for as long as the page is open. @param {() => Promise<void>} askForLog */
export async function startSync(askForLog) {
    onEnd(judge);
    await refresh();
    if (hasEnded) return;
    poll(() => 1000, askForRevision);
    poll(() => (known.games.length > 0 ? 100 : 1000), askForGames);
    poll(() => 3000, askForLog);
}
