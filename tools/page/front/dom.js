// Elements: making them, and changing them only where something is different, so that nothing on the page moves while
// nothing changes. Data always goes in as text, never as markup.

const svgSpace = 'http://www.w3.org/2000/svg';

/** @param {string} id @returns {any} */
export const byId = (id) => document.getElementById(id);

/** Sets a text where it isn't that already. @param {Element} element @param {string | number} text */
export function setText(element, text) {
    const wanted = String(text);
    if (element.textContent !== wanted) element.textContent = wanted;
}

/** Sets an attribute, or removes it for null, undefined and false; true sets it empty. */
export function setAttribute(element, name, value) {
    if (value === null || value === undefined || value === false) {
        if (element.hasAttribute(name)) element.removeAttribute(name);
        return;
    }
    const wanted = value === true ? '' : String(value);
    if (element.getAttribute(name) !== wanted) element.setAttribute(name, wanted);
}

/** Several attributes at once. @param {Element} element @param {Record<string, any>} attributes */
export function setAttributes(element, attributes) {
    for (const [name, value] of Object.entries(attributes)) setAttribute(element, name, value);
    return element;
}

/** Sets a property such as `value`, `checked`, `disabled` or `hidden` where it is different. */
export function setProperty(element, name, value) {
    if (element[name] !== value) element[name] = value;
}

/** Sets a custom property of style. @param {HTMLElement} element @param {string} name "--level" */
export function setStyle(element, name, value) {
    if (element.style.getPropertyValue(name) !== String(value)) element.style.setProperty(name, String(value));
}

function fill(element, attributes, children) {
    for (const [name, value] of Object.entries(attributes)) {
        if (name.startsWith('on')) element.addEventListener(name.slice(2), value);
        else setAttribute(element, name, value);
    }
    element.append(...children.filter((child) => child !== null && child !== undefined));
    return element;
}

/**
 * An element with attributes, listeners ("onclick") and children.
 * @param {string} tag @param {Record<string, any>} [attributes] @param {...(Node | string | null)} children
 * @returns {any}
 */
export const make = (tag, attributes = {}, ...children) => fill(document.createElement(tag), attributes, children);

/** The same for SVG. @returns {any} */
export const makeSvg = (tag, attributes = {}, ...children) =>
    fill(document.createElementNS(svgSpace, tag), attributes, children);

/**
 * Lets a container have one child for each item, in their order. Children stay with their item's key, so that focus
 * and what is being typed stay too.
 * @template T
 * @param {Element} container @param {T[]} items @param {(item: T, index: number) => string | number} keyOf
 * @param {(item: T, index: number) => Element} create
 * @param {(element: any, item: T, index: number) => void} [update] called for new children too
 */
export function keep(container, items, keyOf, create, update = () => {}) {
    const old = container.keptChildren ?? new Map();
    const kept = new Map();
    items.forEach((item, index) => {
        const wanted = keyOf(item, index), key = kept.has(wanted) ? `${wanted} ${index}` : wanted;
        const child = old.get(key) ?? create(item, index);
        kept.set(key, child);
        update(child, item, index);
        if (container.children[index] !== child) container.insertBefore(child, container.children[index] ?? null);
    });
    for (const [key, child] of old) if (kept.get(key) !== child) child.remove();
    container.keptChildren = kept;
}

/**
 * Lets a select have these options. @param {HTMLSelectElement} select
 * @param {{value: string, text: string, group?: string}[]} options with those of a group next to each other
 * @param {string} value the one that is chosen
 */
export function setOptions(select, options, value) {
    const groups = [];
    for (const option of options) {
        const last = groups.at(-1);
        if (last && last.name === (option.group ?? '')) last.options.push(option);
        else groups.push({ name: option.group ?? '', options: [option] });
    }
    const signature = JSON.stringify(groups);
    if (select.optionsSignature !== signature) {
        select.optionsSignature = signature;
        select.replaceChildren(...groups.flatMap(({ name, options: own }) => {
            const nodes = own.map((option) => make('option', { value: option.value }, option.text));
            return name ? [make('optgroup', { label: name }, ...nodes)] : nodes;
        }));
    }
    setProperty(select, 'value', value);
}

/** Shows a value in a field, unless a person is typing there, or typed what was refused. @param {HTMLInputElement} field */
export function setField(field, value) {
    field.shownValue = value;
    if (field.getAttribute('aria-invalid') === 'true' || (document.activeElement === field && field.isTouched)) return;
    setProperty(field, 'value', value);
}

/**
 * A field for a text or number that calls `commit` when a person has changed it, and takes the last value back at
 * Escape. @param {Record<string, any>} attributes @param {(text: string, field: HTMLInputElement) => void} commit
 * @returns {HTMLInputElement}
 */
export function makeField(attributes, commit) {
    const field = make('input', { type: 'text', autocomplete: 'off', spellcheck: 'false', ...attributes });
    field.addEventListener('input', () => { field.isTouched = true; });
    field.addEventListener('keydown', (event) => {
        const isRefused = field.getAttribute('aria-invalid') === 'true';
        if (event.key !== 'Escape' || !(field.isTouched || isRefused)) return;
        field.isTouched = false;
        setAttribute(field, 'aria-invalid', null);
        field.value = field.shownValue ?? '';
        event.stopPropagation();
    });
    field.addEventListener('change', () => {
        field.isTouched = false;
        setAttribute(field, 'aria-invalid', null);
        commit(field.value, field);
    });
    return field;
}

/** Does it once what is seen has been painted. @param {() => void} act */
export const later = (act) => requestAnimationFrame(() => setTimeout(act));

/** Gives a person a text as a file. @param {string} name @param {string} text */
export function download(name, text) {
    const link = make('a', { href: URL.createObjectURL(new Blob([text])), download: name });
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 10_000);
}

/** Asks for a file. @param {string} accept ".txt,.json" @returns {Promise<File | null>} null when nothing was chosen */
export function askForFile(accept) {
    return new Promise((resolve) => {
        const input = make('input', { type: 'file', accept });
        input.addEventListener('change', () => resolve(input.files[0] ?? null));
        input.addEventListener('cancel', () => resolve(null));
        input.click();
    });
}
