// The outputs of the device as tags that are dragged onto a speaker, in a view or in the table. By keys the same is done
// with the output's list in the speaker's row.

import { keep, make, setAttribute, setText } from './dom.js';

/** What the pointer is above that has a speaker. @param {PointerEvent} event @returns {Element | null} */
const speakerBelow = (event) => document.elementFromPoint(event.clientX, event.clientY)?.closest('[data-speaker]') ?? null;

/** @typedef {(index: number, output: string) => void} Connect */

/** @param {HTMLElement} tag @param {PointerEvent} press @param {Connect} connect */
function drag(tag, press, connect) {
    const ghost = make('span', { class: 'output-tag ghost', 'aria-hidden': 'true' }, tag.dataset.output);
    let target = null;
    const aim = (found) => {
        if (target !== found) setAttribute(target ?? tag, 'data-target', null);
        target = found;
        if (target) setAttribute(target, 'data-target', 'true');
    };
    const move = (event) => {
        ghost.style.transform = `translate(${event.clientX + 8}px, ${event.clientY + 8}px)`;
        aim(speakerBelow(event));
    };
    const end = (event) => {
        if (!ghost.isConnected) return;
        const found = event.type === 'pointerup' ? target : null;
        aim(null);
        ghost.remove();
        tag.removeEventListener('pointermove', move);
        if (found) connect(Number(found.dataset.speaker), tag.dataset.output);
    };
    document.body.append(ghost);
    move(press);
    tag.setPointerCapture(press.pointerId);
    tag.addEventListener('pointermove', move);
    for (const name of ['pointerup', 'pointercancel', 'lostpointercapture']) tag.addEventListener(name, end, { once: true });
    press.preventDefault();
}

function create(output, connect) {
    const tag = make('li', { class: 'output-tag', 'data-output': output }, make('span', {}, output), make('span', { class: 'fed' }));
    tag.addEventListener('pointerdown', (event) => { if (event.button === 0) drag(tag, event, connect); });
    return tag;
}

/**
 * @param {HTMLElement} list @param {string[]} outputs @param {import('./state.js').Speaker[]} speakers
 * @param {Connect} connect called when an output was dropped on a speaker
 */
export function keepOutputs(list, outputs, speakers, connect) {
    keep(list, outputs, (output) => output, (output) => create(output, connect), (tag, output) => {
        const index = speakers.findIndex((speaker) => speaker.output === output);
        setText(tag.children[1], index < 0 ? 'free' : `${index + 1} ${speakers[index].label}`);
        setAttribute(tag, 'data-free', index < 0 ? 'true' : null);
    });
}
