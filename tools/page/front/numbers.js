// Numbers, levels and times as a person reads and types them, by the browser's language. Pure; used by all panels
// and by tests in node.

let locale = globalThis.navigator?.language ?? 'en';
const formats = new Map();

/** Takes another language than the browser's. @param {string} tag "de-DE" */
export function useLocale(tag) {
    locale = tag;
    formats.clear();
}

/** The formatter for some options, made once. @param {string} key @param {() => T} make @template T @returns {T} */
function cached(key, make) {
    if (!formats.has(key)) formats.set(key, make());
    return formats.get(key);
}

/**
 * A number with at most `digits` decimals, without marks between thousands, so that what is shown can be typed again.
 * @param {number} value @param {number} [digits]
 */
export function formatNumber(value, digits = 2) {
    const format = cached(`n${digits}`, () => new Intl.NumberFormat(locale, {
        maximumFractionDigits: digits, useGrouping: false, signDisplay: 'negative' }));
    return format.format(value);
}

/** A number with exactly `digits` decimals, for figures that change in place. */
export function formatFixed(value, digits = 1) {
    const format = cached(`f${digits}`, () => new Intl.NumberFormat(locale, {
        minimumFractionDigits: digits, maximumFractionDigits: digits, useGrouping: false, signDisplay: 'negative' }));
    return format.format(value);
}

/** @param {number} share of 1 */
export function formatPercent(share) {
    return cached('%', () => new Intl.NumberFormat(locale, { style: 'percent', maximumFractionDigits: 0 })).format(share);
}

/** A count, with marks between thousands. */
export function formatCount(value) {
    return cached('c', () => new Intl.NumberFormat(locale)).format(value);
}

/** A level in decibels; what is as low as silence has no number. @param {number} decibels */
export function formatLevel(decibels) {
    return decibels <= -120 ? 'silent' : `${formatFixed(decibels, 1)} dB`;
}

/**
 * The number that a person typed, with a point or a comma for its decimals: "2,4", "2.4", "1.234,5", "−30°", "2.4 m".
 * A single mark always stands before decimals. Null for what is no number.
 * @param {string} text @returns {number | null}
 */
export function parseNumber(text) {
    let rest = text.trim().replace(/\u2212/g, '-').replace(/[\s\u00a0\u202f']/g, '').replace(/(°|m|dB)$/i, '');
    const last = Math.max(rest.lastIndexOf(','), rest.lastIndexOf('.'));
    const marks = rest.match(/[.,]/g) ?? [];
    if (marks.length > 1) {
        if (marks.slice(0, -1).some((mark) => mark === rest[last])) return null;
        rest = rest.slice(0, last).replace(/[.,]/g, '') + '.' + rest.slice(last + 1);
    }
    rest = rest.replace(',', '.');
    return /^[+-]?(\d+\.?\d*|\.\d+)$/.test(rest) ? Number(rest) : null;
}

/** A linear gain, typed as a number or in decibels ("0,8", "-6 dB"). Null for what is none. @param {string} text */
export function parseGain(text) {
    const value = parseNumber(text);
    if (value === null) return null;
    if (/db\s*$/i.test(text)) return 10 ** (value / 20);
    return value >= 0 ? value : null;
}

/** Decibels of a linear gain. @param {number} gain @returns {string} "-6.0 dB" */
export function gainInDecibels(gain) {
    return gain > 0 ? `${formatFixed(20 * Math.log10(gain), 1)} dB` : 'silent';
}

/** A length of time as minutes and seconds, with hours where there are any: "0:07", "1:02:03". @param {number} seconds */
export function formatDuration(seconds) {
    const whole = Math.floor(seconds), pad = (number) => String(number).padStart(2, '0');
    const hours = Math.floor(whole / 3600), minutes = Math.floor(whole / 60) % 60;
    return hours > 0 ? `${hours}:${pad(minutes)}:${pad(whole % 60)}` : `${minutes}:${pad(whole % 60)}`;
}

/** The time of day, with the day where it isn't today's. @param {string} iso @param {Date} [now] */
export function formatTime(iso, now = new Date()) {
    const time = new Date(iso);
    if (Number.isNaN(time.getTime())) return iso;
    const isToday = time.toDateString() === now.toDateString();
    const format = cached(`t${isToday}`, () => new Intl.DateTimeFormat(locale,
        isToday ? { timeStyle: 'medium' } : { dateStyle: 'short', timeStyle: 'short' }));
    return format.format(time);
}
