// The modules without a page: numbers as people type them, and the geometry of a room.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import * as numbers from '../../tools/page/front/numbers.js';
import * as room from '../../tools/page/front/room.js';

const typed = [['2,4', 2.4], ['2.4', 2.4], [' -30° ', -30], ['−30', -30], ['1.234,5', 1234.5], ['1,234.5', 1234.5], ['2,4 m', 2.4], ['.5', 0.5],
    ['1.000', 1], ['', null], ['abc', null], ['1.2.3', null], ['2,', 2], ['1e3', null], ['--1', null], ['0x10', null], ['Infinity', null]];

test('ParseNumber_TakesPointsAndCommas', () => {
    for (const [text, value] of typed) assert.equal(numbers.parseNumber(text), value, text);
});

test('FormattedNumbers_AreReadBackInEachLanguage', () => {
    for (const locale of ['en-GB', 'de-DE', 'fr-FR', 'de-CH', 'sv-SE']) {
        numbers.useLocale(locale);
        for (const value of [-30.5, 0, 2.4, 48000.25, -0.05]) assert.equal(numbers.parseNumber(numbers.formatNumber(value)), value, locale);
    }
});

test('ParseGain_OfDecibels_IsLinear', () => {
    for (const [text, gain] of [['0,8', 0.8], ['-6 dB', 0.501187], ['0dB', 1], ['-1', null], ['loud', null]]) {
        const value = numbers.parseGain(text);
        assert.ok(gain === null ? value === null : Math.abs(value - gain) < 1e-6, text);
    }
});

test('FormatDuration_HasHoursOnlyWhereThereAreAny', () => {
    for (const [seconds, text] of [[0, '0:00'], [7.9, '0:07'], [71, '1:11'], [3599.9, '59:59'], [3723, '1:02:03']]) assert.equal(numbers.formatDuration(seconds), text);
});

// Ahead, left, up: by hand, of a speaker 2 m away.
const places = [[0, 0, [2, 0, 0]], [90, 0, [0, 2, 0]], [-90, 0, [0, -2, 0]], [180, 0, [-2, 0, 0]], [0, 90, [0, 0, 2]], [90, -30, [0, Math.sqrt(3), -1]]];

test('ToPoint_HasAzimuthsToTheLeft', () => {
    for (const [azimuth, elevation, wanted] of places) {
        const { ahead, left, up } = room.toPoint({ azimuth, elevation, distance: 2 });
        [ahead, left, up].forEach((value, i) => assert.ok(Math.abs(value - wanted[i]) < 1e-9, `${azimuth} ${elevation}`));
    }
});

test('DragTo_FromAbove_KeepsTheHeight', () => {
    const start = { azimuth: 20, elevation: 30, distance: 2 };  // 1 m up
    assert.deepEqual(room.dragTo(start, 'above', -Math.sqrt(3), 0), { azimuth: 90, elevation: 30, distance: 2 });
    assert.deepEqual(room.dragTo({ azimuth: 90, elevation: 0, distance: 1 }, 'side', 0, -1), { azimuth: 90, elevation: 45, distance: 1.4 });
});

test('MoveByKey_StaysInTheRoom', () => {
    const cases = [['ArrowLeft', false, { azimuth: 180 }, { azimuth: -179 }], ['ArrowRight', true, { azimuth: 2 }, { azimuth: -3 }],
        ['ArrowUp', true, { elevation: 88 }, { elevation: 90 }], ['PageDown', true, { distance: 0.3 }, { distance: 0.1 }],
        ['PageUp', false, { distance: 2.2 }, { distance: 2.3 }]];
    for (const [key, isFar, from, to] of cases) {
        const start = { azimuth: 0, elevation: 0, distance: 2, ...from };
        assert.deepEqual(room.moveByKey(start, key, isFar), { ...start, ...to }, key);
    }
    assert.equal(room.moveByKey({ azimuth: 0, elevation: 0, distance: 2 }, 'Enter', false), null);
});
