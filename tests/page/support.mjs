// What the tests of the page share: a store of their own, the real server, a real game, one browser.
import assert from 'node:assert/strict';
import { execFile, spawn } from 'node:child_process';
import { mkdirSync, mkdtempSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';

const here = dirname(fileURLToPath(import.meta.url));
const build = process.env.TESSARUNE_BUILD ?? join(here, '../../build/release');
export const pictures = join(build, 'page');
const modules = createRequire(join(here, '../../build/page/package.json'));
export const axeSource = modules.resolve('axe-core/axe.min.js');

/** A user with no settings and a silent output of four speakers. */
export async function makeUser() {
    const home = mkdtempSync(join(tmpdir(), 'page-'));
    const env = { PATH: process.env.PATH, HOME: home, LC_ALL: 'C.UTF-8' };
    for (const name of ['CONFIG', 'DATA', 'CACHE', 'RUNTIME']) {
        const folder = join(home, name);
        mkdirSync(folder, { mode: 0o700 });
        env[`XDG_${name}_${name === 'RUNTIME' ? 'DIR' : 'HOME'}`] = folder;
    }
    const config = async (...words) =>
        (await promisify(execFile)(join(build, 'bin/tessarune-config'), words, { env })).stdout;
    for (const words of [['set', 'Output', 'Silent'], ['set', 'SpeakerSetting', 'Quad'], ['set', 'Order', '1'], ['select', 'Quad']]) await config(...words);
    return { env, config, remove: () => rmSync(home, { recursive: true, force: true }) };
}

/** Starts a program and waits for what it prints first. */
function startProgram(command, words, options, wanted) {
    const child = spawn(command, words, { stdio: ['pipe', 'pipe', 'inherit'], ...options });
    const ended = new Promise((resolve) => { child.on('exit', resolve); });
    const end = async (signal) => { signal ? child.kill(signal) : child.stdin.end(); await ended; };
    if (!wanted) return { end };
    return new Promise((resolve, reject) => {
        let text = '';
        child.on('exit', () => reject(new Error(`${command} ended: ${text}`)));
        child.stdout.on('data', (bytes) => {
            text += bytes;
            const found = wanted.exec(text);
            if (found) resolve({ end, found: found[1] });
        });
    });
}

/** The page's server; `found` is the file that leads to the page. */
export const startServer = ({ env }) =>
    startProgram(join(build, 'bin/tessarune-config'), ['page', '--print', '--as-root'], { env }, /^\s*(\/.*page\.html)$/m);

/** A game of one tone, until `end` is called. */
export const startGame = ({ env }) => startProgram('python3',
    [join(here, 'game.py'), join(build, 'lib/libtessarune.so')], { env });

export async function openBrowser() {
    return modules('playwright-core').chromium.launch({ executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
        args: process.getuid() === 0 ? ['--no-sandbox'] : [] });
}

/** Waits until a value is as wanted. */
export async function eventually(what, isWanted, seconds = 10) {
    for (const end = Date.now() + 1000 * seconds; ; ) {
        const value = await what();
        if (isWanted(value)) return value;
        assert.ok(Date.now() < end, `In ${seconds} seconds it didn't become as wanted: ${JSON.stringify(value)}`);
        await new Promise((resolve) => { setTimeout(resolve, 50); });
    }
}

/** Records what the page does from its start. */
export const watch = () => {
    window.longTasks = [];
    window.changes = [];
    new PerformanceObserver((list) => window.longTasks.push(...list.getEntries().map(({ duration }) => duration)))
        .observe({ type: 'longtask', buffered: true });
};
