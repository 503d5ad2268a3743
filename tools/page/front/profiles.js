// The folded list of games with a profile: what it changes for them, switches of one's own, and back to what was shipped.

import { post } from './api.js';
import { byId, keep, later, make, makeField, setAttribute, setField, setOptions, setProperty, setText } from './dom.js';
import { attempt, confirm } from './notice.js';
import { refresh } from './sync.js';
import { known, onChange } from './state.js';

const note = () => byId('profiles-note');

async function send(path, body) {
    const answer = await attempt(note(), () => post(path, body));
    await refresh();
    return answer !== undefined;
}

/** What may be added to a profile: switches, then settings. @param {any[]} present */
function choices(present) {
    const { switches = [], settings = [] } = known.server ?? {};
    const isFree = (name) => !present.some((item) => item.name === name);
    return [{ value: '', text: 'Add …' },
        ...switches.filter(({ name }) => isFree(name)).map(({ name }) => ({ value: name, text: name, group: 'Switches' })),
        ...settings.filter(({ name, isForGames }) => isForGames && !name.includes('.') && isFree(name)).map(({ name }) => ({ value: name, text: name, group: 'Settings' }))];
}

const isSwitch = (name) => known.server.switches.some((item) => item.name === name);

/** One switch or setting of a game. */
function createSwitch(game, item) {
    const set = (value) => send('/api/profile', { name: game, switch: item.name, value });
    const label = `${item.name} for ${game}`;
    const control = isSwitch(item.name) ?
        make('input', { type: 'checkbox', role: 'switch', 'aria-label': label, onchange: () => set(control.checked ? 'True' : 'False') }) :
        makeField({ 'aria-label': label, class: 'short' }, (text) => set(text));
    const meaning = known.server.switches.find(({ name }) => name === item.name)?.meaning ?? '';
    const row = make('li', { class: 'line', title: meaning }, make('span', { class: 'name', 'aria-hidden': 'true' }, item.name), control);
    row.control = control;
    return row;
}

function updateSwitch({ control }, { value }) {
    if (control.type === 'checkbox') setProperty(control, 'checked', /^true$/i.test(String(value)));
    else setField(control, String(value));
}

function create(profile) {
    const { name } = profile;
    const add = make('select', { 'aria-label': `Add a switch or setting for ${name}`, onchange: () => {
        const chosen = add.value;
        if (!chosen) return;
        const value = isSwitch(chosen) ? 'True' : String(known.server.settings.find((item) => item.name === chosen).value);
        send('/api/profile', { name, switch: chosen, value: value === 'true' ? 'True' : value === 'false' ? 'False' : value });
    } });
    const back = make('button', { type: 'button', class: 'quiet', 'aria-label': `Forget mine, for ${name}`, onclick: async () => {
        if (await confirm(`Forget what you have set for “${name}”?`, 'Forget')) await send('/api/profile/reset', { name });
    } }, 'Forget mine');
    const row = make('article', { class: 'profile' }, make('h3', {}, name), make('p', { class: 'hint' }), make('ul', { class: 'switches' }),
        make('div', { class: 'row' }, add, back));
    row.parts = { add, back, hint: row.children[1], list: row.children[2] };
    return row;
}

function update(row, profile) {
    const { add, back, hint, list } = row.parts;
    const programs = `Programs: ${profile.matches.join(', ') || 'none'}.`;
    setText(hint, profile.reason ? `${programs} ${profile.reason}` : programs);
    keep(list, profile.switches, (item) => item.name, (item) => createSwitch(profile.name, item), updateSwitch);
    setProperty(list, 'hidden', profile.switches.length === 0);
    setOptions(add, choices(profile.switches), '');
    setProperty(back, 'hidden', !profile.isOwn);
}

function draw() {
    const profiles = known.server?.profiles ?? [];
    setText(byId('profiles-count'), String(profiles.length));
    keep(byId('profile-list'), profiles, ({ name }) => name, create, update);
    setOptions(byId('profile-switch'), (known.server?.switches ?? []).map(({ name }) => ({ value: name, text: name })),
        byId('profile-switch').value || known.server?.switches[0]?.name);
}

async function add(event) {
    event.preventDefault();
    const name = byId('profile-name').value.trim();
    setAttribute(byId('profile-name'), 'aria-invalid', name ? null : 'true');
    if (name && await send('/api/profile', { name, switch: byId('profile-switch').value, value: 'True' })) event.target.reset();
}

/** Builds the list, once. */
export function startProfiles() {
    byId('profile-form').addEventListener('submit', add);
    onChange(['server'], () => later(draw));
}
