// The room that a person edits: made of the layout in force at the first change, kept over a reload, and forgotten when
// it was applied or discarded.

import { change, isMeasured, known, layout, measuredOnly } from './state.js';

const storeKey = 'tessarune-draft';
const newRoom = 'My room';

function store(draft) {
    try {
        if (draft) sessionStorage.setItem(storeKey, JSON.stringify(draft));
        else sessionStorage.removeItem(storeKey);
    } catch {
        // Without room for it a reload forgets the draft, and nothing else.
    }
    change({ draft });
}

/** Keys as the speakers have them that aren't in a draft, so that what has the focus keeps it. */
const withKeys = (speakers) => speakers.map((speaker, i) => ({ ...speaker, key: `n${i}` }));

/** Takes up what a reload left. */
export function restoreDraft() {
    try {
        const kept = JSON.parse(sessionStorage.getItem(storeKey) ?? 'null');
        if (kept) store(kept);
    } catch {
        sessionStorage.removeItem(storeKey);
    }
}

/** Edits this room. @param {{name: string, speakers: import('./state.js').Speaker[], isMeasured?: boolean}} room */
export function startDraft({ name, speakers, isMeasured = true }) {
    store({ name, isMeasured, speakers: withKeys(speakers) });
}

/** The draft; without one, a copy of the layout in force. */
function currentDraft() {
    if (known.draft) return known.draft;
    const now = layout();
    const isPlace = now && !now.isHeadphones;
    return { name: now?.isOwn && isPlace ? now.name : newRoom, isMeasured: isMeasured(), speakers: withKeys(isPlace ? now.speakers : []) };
}

/** @param {number} index @param {Partial<import('./state.js').Speaker>} fresh */
export function editSpeaker(index, fresh) {
    const draft = currentDraft(), old = draft.speakers[index];
    store({ ...draft, isMeasured: draft.isMeasured || (fresh.distance ?? old.distance) !== old.distance,
        speakers: draft.speakers.map((speaker, i) => (i === index ? { ...speaker, ...fresh } : speaker)) });
}

/** A name for a speaker that no other has. */
function freeLabel(speakers) {
    for (let n = speakers.length + 1; ; ++n) if (!speakers.some(({ label }) => label === `Speaker ${n}`)) return `Speaker ${n}`;
}

export function addSpeaker() {
    const draft = currentDraft();
    const distance = draft.speakers.at(-1)?.distance || 2;
    const speaker = { label: freeLabel(draft.speakers), azimuth: 0, elevation: 0, distance, type: 'Normal', gain: 1, key: crypto.randomUUID() };
    store({ ...draft, speakers: [...draft.speakers, speaker] });
    change({ chosen: draft.speakers.length });
}

/** @param {number} index */
export function removeSpeaker(index) {
    const draft = currentDraft();
    store({ ...draft, speakers: draft.speakers.filter((_, i) => i !== index) });
    change({ chosen: null });
}

/** Another speaker of the draft that has the output gets this one's. @param {number} index @param {string} output */
export function connectInDraft(index, output) {
    const draft = currentDraft();
    const old = draft.speakers[index].output;
    store({ ...draft, speakers: draft.speakers.map((speaker, i) =>
        i === index ? { ...speaker, output } : speaker.output === output && output ? { ...speaker, output: old } : speaker) });
}

/** @param {string} name */
export const renameDraft = (name) => store({ ...currentDraft(), name });

export const discardDraft = () => store(null);

/** What /api/room/apply takes. @param {string} device an id, or empty for the present one */
export function applyRequest(device) {
    const speakers = known.draft.speakers.map(({ label, azimuth, elevation, distance, type, role, gain, output }) =>
        Object.fromEntries(Object.entries({ label, azimuth, elevation, ...measuredOnly(distance), type, role, gain, output })
            .filter(([, value]) => value !== undefined && value !== '')));
    return { name: known.draft.name, ...(device ? { device } : {}), speakers };
}
