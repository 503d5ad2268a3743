// The panel of the room: both views, and what the quick decoder says of the places while they are moved. The newest
// question wins, and one is asked at a time.

import { get, post } from './api.js';
import { byId, download, setAttribute, setProperty, setText } from './dom.js';
import { discardDraft, editSpeaker } from './draft.js';
import { attempt } from './notice.js';
import { formatFixed, formatNumber } from './numbers.js';
import { summarise } from './room.js';
import { RoomView } from './roomview.js';
import { change, isRoom, known, layout, measuredOnly, onChange, setting, shownSpeakers } from './state.js';

/** @type {RoomView[]} */
let views = [];
let asked = '';       // what the preview was asked for last
let isAsking = false;

/** What /api/room/preview takes; empty where there is nothing to show. */
function question() {
    const speakers = isRoom() ? shownSpeakers() : [];
    if (speakers.length === 0) return '';
    return JSON.stringify({
        speakers: speakers.map(({ azimuth, elevation, distance, type }) => ({ azimuth, elevation, ...measuredOnly(distance), type })),
        order: setting('Order')?.value ?? 3,
    });
}

async function askForPreview() {
    if (isAsking) return;
    isAsking = true;
    try {
        for (let wanted = question(); wanted !== asked; wanted = question()) {
            asked = wanted;
            const preview = wanted ? await post('/api/room/preview', JSON.parse(wanted)) : null;
            change({ preview });
        }
        setText(byId('preview-problem'), '');
    } catch (error) {
        change({ preview: null });
        setText(byId('preview-problem'), error.message);
    } finally {
        isAsking = false;
    }
    if (question() !== asked) askForPreview();
}

const degrees = (value) => `${formatNumber(value, 0)}°`;

function drawFigures() {
    const { preview } = known;
    setProperty(byId('figures'), 'hidden', preview === null);
    if (!preview) return;
    const all = summarise(preview.horizontal);
    setText(byId('figure-sharpness'), formatFixed(all.sharpness, 2));
    setText(byId('figure-least'), `least ${formatFixed(all.leastSharp.sharpness, 2)} at ${degrees(all.leastSharp.angle)}`);
    setText(byId('figure-level'), `${formatFixed(all.mostLevel - all.leastLevel, 1)} dB`);
    setText(byId('figure-error'), degrees(all.worst.error));
    setText(byId('figure-error-at'), `at ${degrees(all.worst.angle)}`);
}

function drawCurves() {
    views.forEach((view) => view.drawCurves(known.preview?.[view.view === 'above' ? 'horizontal' : 'vertical'] ?? null));
    drawFigures();
}

function draw() {
    const speakers = isRoom() ? shownSpeakers() : [];
    for (const view of views) view.draw(speakers, known.chosen, known.draft !== null);
    const now = layout(), isDraft = known.draft !== null;
    setText(byId('room-name'), known.draft?.name ?? now?.name ?? '');
    setProperty(byId('room-draft'), 'hidden', !isDraft);
    setProperty(byId('room-headphones'), 'hidden', isDraft || !now?.isHeadphones);
    setProperty(byId('room-none'), 'hidden', isDraft || now !== null || known.server === null);
    for (const id of ['views', 'move-help']) setProperty(byId(id), 'hidden', !isRoom());
    setProperty(byId('room-export'), 'disabled', now === null || isDraft);
    setAttribute(byId('room'), 'data-draft', isDraft ? 'true' : null);
    setAttribute(byId('side'), 'aria-label', `Room from the side, with ${speakers.length} speakers`);
    askForPreview();
}

async function exportRoom() {
    const room = await attempt(byId('room-note'), () => get('/api/room/export'));
    if (room) download(room.name, room.text);
}

/** Builds the panel, once. */
export function startRoomPanel() {
    const moves = { move: editSpeaker, choose: (index) => change({ chosen: index }), settle: draw };
    views = [new RoomView(byId('above'), 'above', moves), new RoomView(byId('side'), 'side', moves)];
    byId('room-export').addEventListener('click', exportRoom);
    byId('room-discard').addEventListener('click', discardDraft);
    onChange(['server', 'draft', 'chosen'], draw);
    onChange(['preview'], drawCurves);
}
