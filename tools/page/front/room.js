// The geometry of a room. Pure. Places are as a person measures them: azimuth in degrees to the left of straight ahead
// (-180 to 180), elevation in degrees up, distance in metres. Points are metres ahead, to the left and up.

/** @typedef {{azimuth: number, elevation: number, distance: number}} Place */
/** @typedef {{ahead: number, left: number, up: number}} Point */
/** @typedef {'above' | 'side'} View from above: ahead is up, left is left; from the right side: ahead is right */

const radians = Math.PI / 180;
export const maxDistance = 100;

/** An angle from -180 (not reached) to 180. @param {number} degrees */
export function wrapAngle(degrees) {
    const wrapped = ((degrees % 360) + 360) % 360;
    return wrapped > 180 ? wrapped - 360 : wrapped;
}

const clamp = (value, least, most) => Math.min(most, Math.max(least, value));

/** To a step, without what a binary fraction leaves over. */
export const roundTo = (value, step) => Number((Math.round(value / step) * step).toFixed(6));

/** @param {Place} place @returns {Point} */
export function toPoint({ azimuth, elevation, distance }) {
    const level = distance * Math.cos(elevation * radians);
    return { ahead: level * Math.cos(azimuth * radians), left: level * Math.sin(azimuth * radians),
        up: distance * Math.sin(elevation * radians) };
}

/**
 * In whole degrees and steps of 5 cm. Where a point has no direction, the old one stays.
 * @param {Point} point @param {Place} old @returns {Place}
 */
export function toPlace({ ahead, left, up }, old) {
    const level = Math.hypot(ahead, left);
    const distance = Math.hypot(level, up);
    return {
        azimuth: level > 1e-9 ? wrapAngle(Math.round(Math.atan2(left, ahead) / radians)) : old.azimuth,
        elevation: distance > 1e-9 ? Math.round(Math.atan2(up, level) / radians) : old.elevation,
        distance: clamp(roundTo(distance, 0.05), 0.1, maxDistance),
    };
}

/** Where a point is in a view, in metres to the right and down from the listener. @param {Point} point @param {View} view */
export const project = (point, view) =>
    view === 'above' ? { x: -point.left, y: -point.ahead } : { x: point.ahead, y: -point.up };

/**
 * Where a speaker is after it was dragged in a view: from above its height stays, from the side how far left it is.
 * @param {Place} start where it was when the drag began @param {View} view @param {number} x @param {number} y metres
 * @param {boolean} [isMeasured] where distances mean nothing, they and heights in degrees stay as they are
 * @returns {Place}
 */
export function dragTo(start, view, x, y, isMeasured = true) {
    const point = toPoint(start);
    const place = toPlace(view === 'above' ? { ...point, left: -x, ahead: -y } : { ...point, ahead: x, up: -y }, start);
    if (isMeasured) return place;
    return { ...place, elevation: view === 'above' ? start.elevation : place.elevation, distance: start.distance };
}

const keys = {
    ArrowLeft: ['azimuth', 1], ArrowRight: ['azimuth', -1], ArrowUp: ['elevation', 1], ArrowDown: ['elevation', -1],
    PageUp: ['distance', 0.1], PageDown: ['distance', -0.1],
};

/** A place with one coordinate changed, kept within what a room may have. @param {Place} place @returns {Place} */
export function withCoordinate(place, name, value) {
    if (name === 'azimuth') return { ...place, azimuth: wrapAngle(value) };
    if (name === 'elevation') return { ...place, elevation: clamp(value, -90, 90) };
    return { ...place, distance: clamp(value, 0.1, maxDistance) };
}

/**
 * Where a key moves a speaker: arrows by a degree, Page Up and Page Down by 10 cm, with Shift five times as far.
 * @param {Place} place @param {string} key @param {boolean} isFar @returns {Place | null} null for other keys
 */
export function moveByKey(place, key, isFar) {
    if (!(key in keys)) return null;
    const [name, step] = keys[key];
    return withCoordinate(place, name, roundTo(place[name] + step * (isFar ? 5 : 1), 0.01));
}

/** A place in words. @param {Place} place @param {(value: number, digits: number) => string} format */
export function describePlace({ azimuth, elevation, distance }, format) {
    const degrees = (angle) => `${format(Math.abs(angle), 1)} ${Math.abs(angle) === 1 ? 'degree' : 'degrees'}`;
    const turn = azimuth === 0 ? 'straight ahead' : Math.abs(azimuth) === 180 ? 'behind' :
        `${degrees(azimuth)} ${azimuth > 0 ? 'left' : 'right'}`;
    const height = elevation === 0 ? '' : `, ${degrees(elevation)} ${elevation > 0 ? 'up' : 'down'}`;
    return `${turn}${height}, ${format(distance, 2)} metres`;
}

/** Metres from the listener to the edge of a view that shows all speakers. @param {Place[]} places */
export function viewRange(places) {
    const furthest = Math.max(1, ...places.map((place) => place.distance));
    return [1, 1.5, 2, 3, 4, 5, 6, 8, 10, 15, 20, 30, 50, 100].find((range) => range >= furthest * 1.1) ?? furthest * 1.1;
}

/** Steps between the circles of distance in a view. @param {number} range metres */
export const ringStep = (range) => [0.5, 1, 2, 5, 10, 20].find((step) => range / step <= 5) ?? 50;

/** The most of a level in decibels that a view can show, either way. */
export const levelSpan = 6;

/** Where a level is drawn: the mean at 0.6 of the radius. @param {number} decibels @returns {number} share of the radius */
export const levelRadius = (decibels) => 0.6 + (0.4 * clamp(decibels, -levelSpan, levelSpan)) / levelSpan;

/**
 * The points of a closed curve around the listener, for an SVG. @param {{angle: number}[]} curve angles in degrees
 * @param {View} view @param {number} radius of a share of 1 @param {(item: any) => number} share
 */
export function curvePoints(curve, view, radius, share) {
    return curve.map((item) => {
        const angle = item.angle * radians, r = radius * share(item);
        const [x, y] = view === 'above' ? [-Math.sin(angle), -Math.cos(angle)] : [Math.cos(angle), -Math.sin(angle)];
        return `${(r * x).toFixed(1)},${(r * y).toFixed(1)}`;
    }).join(' ');
}

/** What a preview comes to. @returns {{sharpness: number, leastSharp: any, leastLevel: number, mostLevel: number, worst: any}} */
export function summarise(curve) {
    const least = (of) => curve.reduce((a, b) => (of(b) < of(a) ? b : a));
    return {
        sharpness: curve.reduce((sum, { sharpness }) => sum + sharpness, 0) / curve.length,
        leastSharp: least(({ sharpness }) => sharpness),
        leastLevel: least(({ level }) => level).level,
        mostLevel: least(({ level }) => -level).level,
        worst: least(({ error }) => -error),
    };
}
