// The panel of running games: load, late blocks, meters of the outputs, a radar of the sources, and recordings.

import { byId, keep, make, setAttributes, setProperty, setStyle, setText } from './dom.js';
import { formatCount, formatFixed, formatLevel, formatNumber, formatPercent } from './numbers.js';
import { Radar } from './radar.js';
import { makeRecording } from './recording.js';
import { known, onChange } from './state.js';

const floor = -60;  // dBFS, where a meter begins

/** Share of a meter. @param {number} decibels */
const shareOf = (decibels) => Math.max(0, Math.min(1, 1 - decibels / floor));

function createMeter({ name }) {
    const bar = make('div', { class: 'bar', role: 'meter', 'aria-label': `Level of ${name}`, 'aria-valuemin': floor, 'aria-valuemax': 0 },
        make('span', { class: 'rms' }), make('span', { class: 'peak' }));
    const row = make('li', { class: 'meter' }, make('span', { class: 'name' }, name), bar, make('span', { class: 'figure' }));
    row.parts = { bar, figure: row.children[2] };
    return row;
}

function updateMeter({ parts: { bar, figure } }, { peak, rms }) {
    setStyle(bar, '--rms', shareOf(rms).toFixed(3));
    setStyle(bar, '--peak', shareOf(peak).toFixed(3));
    setText(figure, formatLevel(peak));
    setAttributes(bar, { 'aria-valuenow': Math.max(floor, Math.min(0, Math.round(peak))), 'aria-valuetext': formatLevel(peak),
        'data-loud': peak > -1 ? 'true' : null });
}

const milliseconds = (frames, rate) => `${formatFixed((1000 * frames) / (rate || 48000), 0)} ms`;

/** Where a tracked head is turned to, as "30° left, 5° up". */
function headText({ speaks, yaw, pitch }) {
    if (!speaks) return 'no tracker';
    const part = (angle, positive, negative) => `${formatFixed(Math.abs(angle), 0)}° ${angle < 0 ? negative : positive}`;
    return `${part(yaw, 'left', 'right')}, ${part(pitch, 'up', 'down')}`;
}

/** The figures of a game: name, value, and whether it is a reason to worry. @returns {[string, string, boolean][]} */
function figures(game) {
    return [
        ['load', formatPercent(game.loadMean), game.loadMean > 0.7],
        ['most', formatPercent(game.loadMax), game.loadMax > 0.95],
        ['late blocks', formatCount(game.lateBlocks), game.lateBlocks > 0],
        ['sources', formatCount(game.sourcesPlaying), false],
        ['latency', milliseconds(game.latencyFrames, game.sampleRate), false],
        ['limiter', game.limiterGain < -0.05 ? formatLevel(game.limiterGain) : 'at rest', game.limiterGain < -3],
        ...(game.tracker?.listens ? [['head', headText(game.tracker), false]] : []),
    ];
}

const createFigure = ([name]) => make('div', {}, make('dt', {}, name), make('dd'));

function updateFigure(element, [, value, isWorry]) {
    setText(element.lastChild, value);
    setAttributes(element, { 'data-worry': isWorry ? 'true' : null });
}

function create(game) {
    const card = make('article', { class: 'game' },
        make('header', {}, make('h3', {}, game.program), make('span', { class: 'hint' })), make('p', { class: 'problem', hidden: true }),
        make('dl', { class: 'figures' }), make('ul', { class: 'meters', 'aria-label': `Outputs of ${game.program}` }),
        make('ul', { class: 'effects', 'aria-label': 'Effects' }));
    const recording = makeRecording(game);
    const [header, problem, list, meters, effects] = card.children;
    card.append(recording.element);
    const radar = new Radar(card);
    card.parts = { about: header.lastChild, problem, list, meters, effects, recording, radar };
    return card;
}

/** Why a game isn't heard, or nothing. */
function problemOf(game) {
    if (game.outputAway) return 'The sound output went away: the sound isn\'t heard until it is back.';
    return game.contextsAlive === 0 ? game.lastFailure : '';
}

function update(card, game) {
    const { about, problem, list, meters, effects, recording, radar } = card.parts;
    setText(about, [`${formatNumber(game.sampleRate / 1000, 1)} kHz, blocks of ${game.blockFrames}, order ${game.order}`, game.layout, game.device,
        game.profile && `profile ${game.profile}`].filter(Boolean).join(' · '));
    setText(problem, problemOf(game));
    setProperty(problem, 'hidden', problem.textContent === '');
    keep(list, figures(game), ([name]) => name, createFigure, updateFigure);
    keep(meters, game.outputs, ({ name }, i) => `${i} ${name}`, createMeter, updateMeter);
    keep(effects, game.effects, ({ slot }) => slot, () => make('li'),
        (item, { slot, type, gain }) => setText(item, `${slot} ${type} ${formatLevel(20 * Math.log10(Math.max(gain, 1e-7)))}`));
    setProperty(effects, 'hidden', game.effects.length === 0);
    recording.update(game);
    radar.draw(game.sources);
}

function draw() {
    keep(byId('game-list'), known.games, ({ pid }) => pid, create, update);
    setProperty(byId('games-none'), 'hidden', known.games.length > 0);
}

/** Builds the panel, once. */
export function startGames() {
    onChange(['games'], draw);
}
