// What the page knows, and who is told when it changes. All panels draw from here and write nowhere else.

/**
 * @typedef {{number?: number, label: string, role?: string, type: string, azimuth: number, elevation: number,
 *            distance: number, output?: string, gain?: number, isBassOnly?: boolean, key?: string}} Speaker
 *     degrees, metres, linear gain; `key` tells the speakers of a draft apart
 * @typedef {{name: string, isMeasured: boolean, speakers: Speaker[]}} Draft a room that isn't applied yet
 * @typedef {{name: string, device: string, deviceName: string, method: string, methods: string[], isHeadphones: boolean,
 *            isMeasured: boolean, isOwn: boolean, gain: number, outputs: string[], speakers: Speaker[], warnings: string[]}} Layout
 * @typedef {{angle: number, level: number, sharpness: number, error: number}} Direction degrees, dB, 0 to 1, degrees
 */

const values = {
    /** @type {any} the answer of /api/state */ server: null,
    /** @type {Draft | null} */ draft: null,
    /** @type {{horizontal: Direction[], vertical: Direction[]} | null} */ preview: null,
    /** @type {number | null} the speaker that is looked at, an index */ chosen: null,
    /** @type {string} the device that was chosen and has no layout yet */ device: '',
    /** @type {any[]} running games */ games: [],
    /** @type {boolean} a job of this page runs */ isBusy: false,
};

/** @type {{names: string[], listener: () => void}[]} */
const listeners = [];

/** What is known now; only `change` writes to it. @type {Readonly<typeof values>} */
export const known = values;

/** Calls a function whenever one of these changes. @param {(keyof typeof values)[]} names @param {() => void} listener */
export function onChange(names, listener) {
    listeners.push({ names, listener });
}

/** @param {Partial<typeof values>} fresh */
export function change(fresh) {
    const changed = Object.keys(fresh).filter((name) => values[name] !== fresh[name]);
    if (changed.length === 0) return;
    Object.assign(values, fresh);
    for (const { names, listener } of listeners) if (names.some((name) => changed.includes(name))) listener();
}

/** The layout in force. @returns {Layout | null} */
export const layout = () => values.server?.layout ?? null;

/** The speakers that are shown: the draft's, else those of the layout in force. @returns {Speaker[]} */
export const shownSpeakers = () => values.draft?.speakers ?? layout()?.speakers ?? [];

/** Whether somebody measured how far the speakers are; else all distances are 1 and mean nothing. */
export const isMeasured = () => values.draft?.isMeasured ?? layout()?.isMeasured ?? true;

/** A distance as the server takes it: left out where nobody measured it. @param {number} distance metres */
export const measuredOnly = (distance) => (isMeasured() ? { distance } : {});

/** Whether speakers can be moved: headphones have none. */
export const isRoom = () => values.draft !== null || (layout() !== null && !layout().isHeadphones);

/** @param {string} name @returns {any} the setting of this name, undefined where there is none */
export const setting = (name) => values.server?.settings.find((item) => item.name === name);
