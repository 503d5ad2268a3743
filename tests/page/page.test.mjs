// The page in a real browser, on the real server, with a store of its own and a game of a tone.
import assert from 'node:assert/strict';
import { createSocket } from 'node:dgram';
import { readFileSync, statSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { axeSource, eventually, makeUser, openBrowser, pictures, startGame, startServer, watch } from './support.mjs';

let user, server, game, browser, page;
const errors = [], requests = [];
const wide = { width: 1280, height: 900 }, narrow = { width: 360, height: 740 };
const textOf = (selector) => page.locator(selector).first().innerText();
const speakersInStore = async () => JSON.parse(await user.config('speakers', '--json')).speakers;

before(async () => {
    user = await makeUser();
    [server, browser] = await Promise.all([startServer(user), openBrowser()]);
    const context = await browser.newContext({ viewport: wide, locale: 'de-DE', colorScheme: 'light' });
    page = await context.newPage();
    page.setDefaultTimeout(20_000);
    page.on('console', (message) => { if (message.type() === 'error' && !/status of 400/.test(message.text())) errors.push(message.text()); });
    page.on('pageerror', (error) => errors.push(error.stack));
    page.on('requestfinished', (request) => requests.push(request));
    await page.addInitScript(watch);
    await page.goto(`file://${server.found}`);
    await page.waitForSelector('#page:not([hidden])');
});

after(async () => {
    await browser?.close();
    await game?.end();
    await server?.end('SIGTERM');
    user?.remove();
});

test('ThePage_Loads_InFewSmallRequestsOfItsOwnServer', async () => {
    await eventually(() => textOf('#check-word'), (word) => !/checking/.test(word));
    const loaded = requests.filter((request) => request.url().startsWith('http'));
    const { origin, hash, times, long } = await page.evaluate(() => ({ origin: location.origin, hash: location.hash, long: window.longTasks,
        times: performance.getEntriesByType('resource').filter(({ name }) => !name.includes('/api/')).map(({ decodedBodySize }) => decodedBodySize) }));
    assert.equal(hash, '', 'the token stays in the address');
    assert.ok(loaded.every((request) => new URL(request.url()).origin === origin), 'something comes from elsewhere');
    assert.ok(times.length < 6 && times.reduce((sum, size) => sum + size, 0) < 200_000, `${times.length} files`);
    assert.ok(long.every((duration) => duration < 500), `long tasks: ${long}`);
});

test('AValueThatIsRefused_IsSaidWhereItWasTyped', async () => {
    await page.getByLabel('Block', { exact: true }).fill('many');
    await page.keyboard.press('Enter');
    await eventually(() => page.locator('#quality-note').textContent(), (text) => text.length > 10);
    assert.equal(await page.getByLabel('Block', { exact: true }).getAttribute('aria-invalid'), 'true');
});

test('GermanDecimals_AreUnderstoodAndShown', async () => {
    await page.getByLabel('Gain', { exact: true }).fill('0,5');
    await page.keyboard.press('Enter');
    await eventually(() => user.config('get', 'Gain'), (text) => Number(text) === 0.5);
    const distance = page.getByLabel(/^Distance of/).first();
    await distance.fill('2,4');
    await page.keyboard.press('Tab');
    assert.equal(await distance.inputValue(), '2,4');
    assert.match(await page.locator('#above .speaker').first().getAttribute('aria-valuetext'), /2,4 metres/);
    assert.ok(await page.locator('#draft-bar').isVisible(), 'the room is no draft');
    await page.locator('#draft-discard').click();
    assert.notEqual(await distance.inputValue(), '2,4');
});

test('ASpeakerThatIsDragged_IsInTheStoreOnceApplied', async () => {
    const [box, dot] = await Promise.all([page.locator('#above').boundingBox(), page.locator('#above .speaker .body').first().boundingBox()]);
    const middle = { x: box.x + box.width / 2, y: box.y + box.height / 2 };
    const sharpness = await eventually(() => page.locator('#above .sharpness').getAttribute('points'), (points) => points !== null);
    await page.mouse.move(dot.x + dot.width / 2, dot.y + dot.height / 2);
    await page.mouse.down();
    await page.mouse.move(middle.x - 60, middle.y, { steps: 4 });
    await page.mouse.up();
    await eventually(() => page.locator('#above .sharpness').getAttribute('points'), (points) => points !== null && points !== sharpness);
    const azimuth = Number(await page.getByLabel(/^Azimuth of/).first().inputValue());
    assert.ok(Math.abs(azimuth - 90) <= 3, `it is at ${azimuth} degrees`);
    assert.notEqual(Math.round((await speakersInStore())[0].azimuth), azimuth, 'the draft is applied already');
    await page.getByLabel('Name of speaker 2').fill('<i>Right</i>');
    await page.keyboard.press('Tab');
    await page.reload();
    await page.locator('#draft-name').fill('Attic');
    await page.locator('#draft-apply').click();
    await page.waitForFunction(() => document.getElementById('draft-bar').hidden, null, { timeout: 30_000 });
    const [first, second] = await speakersInStore();
    assert.equal(Math.round(first.azimuth), azimuth);
    assert.equal(second.speaker, '<i>Right</i>');
    assert.equal(await page.locator('i').count(), 0, 'a name became markup');
});

test('WithKeysAlone_ASpeakerIsMovedAndApplied', async () => {
    const before = (await speakersInStore())[2].azimuth;
    await page.locator('h1').click();
    for (let i = 0; i < 40 && !(await page.evaluate(() => document.activeElement.matches('#above [data-speaker="2"]'))); ++i) await page.keyboard.press('Tab');
    await page.keyboard.press('ArrowLeft');
    await page.keyboard.press('Shift+ArrowLeft');
    for (let i = 0; i < 90 && await page.evaluate(() => document.activeElement.id !== 'draft-apply'); ++i) await page.keyboard.press('Tab');
    await page.keyboard.press('Enter');
    await page.waitForFunction(() => document.getElementById('draft-bar').hidden, null, { timeout: 30_000 });
    assert.ok(Math.abs((await speakersInStore())[2].azimuth - before - 6) < 0.1);
});

test('AnOutputDroppedOnASpeaker_SwapsTheTwo', async () => {
    const old = (await speakersInStore()).map(({ output }) => output);
    await page.locator('#outputs li').nth(3).hover();
    await page.mouse.down();
    const target = await page.locator('#above .speaker .body').first().boundingBox();
    await page.mouse.move(target.x + 5, target.y + 5, { steps: 3 });
    await page.mouse.up();
    await eventually(async () => (await speakersInStore()).map(({ output }) => output), ([first]) => first === old[3]);
    assert.equal((await speakersInStore())[3].output, old[0]);
    await page.locator('#undo').click();
    await eventually(async () => (await speakersInStore())[0].output, (output) => output === old[0]);
});

test('ARunningGame_IsSeenWithItsMetersAndRestarts', async () => {
    game = await startGame(user);
    await eventually(() => page.locator('.meter .bar').evaluateAll((bars) => bars.map((bar) => Number(bar.getAttribute('aria-valuenow')))),
        (levels) => levels.some((level) => level > -40));
    assert.equal(await page.locator('.sources circle').count(), 1);
    const place = await page.locator('.sources circle').evaluate((dot) => [dot.getAttribute('cx') < 0, dot.getAttribute('cy') < 0]);
    assert.deepEqual(place, [true, true], 'the source is ahead on the left');
    assert.match(await textOf('.game .hint'), /order 1/);
    await page.locator('#quality label', { hasText: '2' }).first().click();
    await eventually(() => textOf('.game .hint'), (text) => /order 2/.test(text));
});

test('AHeadTracker_IsSetByKeysHeardAndCentred', async () => {
    const number = 42425, sender = createSocket('udp4'), turn = Buffer.from('/ypr\0\0\0\0,fff\0\0\0\0------------');
    [30, -10, 5].forEach((degrees, i) => turn.writeFloatBE(degrees, 16 + 4 * i));
    await page.locator('#tracker-port').focus();
    await page.keyboard.type(`${number}0`);
    await page.keyboard.press('Enter');
    await eventually(() => page.locator('#tracker-note').textContent(), (text) => /'port' must be a number of 1 to 65535/.test(text));
    await page.locator('#tracker-port').fill(String(number));
    await page.keyboard.press('Shift+Tab');
    for (let i = 0; i < 2; ++i) await page.keyboard.press('ArrowRight');
    await eventually(() => textOf('#tracker-state'), (text) => text === `Waiting for packets at port ${number}.`);
    assert.equal(await user.config('get', 'HeadTracking'), 'Always\n');
    const sending = setInterval(() => sender.send(turn, number, '127.0.0.1'), 50);
    const angles = () => Promise.all(['yaw', 'pitch', 'roll'].map((name) => textOf(`#tracker-${name}`)));
    await eventually(angles, (texts) => texts.join() === '30° left,10° down,5° right');
    assert.match(await textOf('#tracker-state'), /heard/);
    assert.ok(await page.locator('#tracker-head .head').evaluate((head) => new DOMMatrix(getComputedStyle(head).transform).b < 0), 'it turns to the right');
    await page.screenshot({ path: join(pictures, 'game.png'), fullPage: true });
    await page.locator('#tracker-centre').press('Enter');
    await eventually(angles, (texts) => texts.every((text) => text.startsWith('0°')));
    clearInterval(sending);
    sender.close();
    await page.locator('#tracker-mode input').first().check();
    await eventually(() => page.locator('.game dt', { hasText: 'head' }).count(), (count) => count === 0);
    assert.equal(await user.config('get', 'HeadTracking'), 'Off\n');
});

test('ARecording_StartedAndStopped_LeavesAFileWithSound', async () => {
    const file = join(user.env.HOME, 'take.wav'), name = page.getByLabel('File for a recording of game.py');
    const said = (part) => page.locator('.game', { hasText: 'game.py' }).locator(`.recording ${part}`).textContent();
    await name.fill('take.mp3');
    await page.getByRole('button', { name: 'Record game.py' }).press('Enter');
    await eventually(() => said('.note'), (text) => /must end in .wav or .caf/.test(text));
    await name.fill('take.wav');
    await name.press('Enter');
    await eventually(() => said('span.file'), (text) => text.startsWith(`Recording the sound field into ${file}, for 0:`));
    await eventually(() => statSync(file).size, (size) => size > 40_000);
    await page.getByRole('button', { name: 'Stop recording game.py' }).press('Enter');
    await eventually(() => page.getByRole('button', { name: 'Record game.py' }).isVisible(), (isShown) => isShown);
    await name.fill('take.wav');
    await name.press('Enter');
    await eventually(() => said('.note'), (text) => /There is a file .* already/.test(text));
    const heard = readFileSync(file).subarray(-8000);  // floats
    assert.ok(Array.from({ length: 2000 }, (_, i) => heard.readFloatLE(4 * i)).some((sample) => Math.abs(sample) > 0.01), 'it is silent');
    await game.end();
    await eventually(() => page.locator('#games-none').isVisible(), (isShown) => isShown);
});

test('AHeadThatIsUploaded_IsUsed', async () => {
    await page.locator('#head-add').click();
    await page.locator('#head-file').setInputFiles('/usr/share/libmysofa/default.sofa');
    await page.locator('#head-name').fill('Me');
    await page.locator('#head-size').fill('57,5');
    await page.locator('#head-form button.main').click();
    await page.locator('#head progress').waitFor();
    await eventually(() => page.getByRole('radio', { name: /^Me / }).isChecked({ timeout: 200 }).catch(() => false), (isUsed) => isUsed, 40);
    assert.match(await user.config('head', 'list'), /Me/);
});

const looks = [['wide-light', wide, 'light'], ['wide-dark', wide, 'dark'], ['narrow-light', narrow, 'light'], ['narrow-dark', narrow, 'dark']];

test('EveryLook_IsAccessibleAndFits', async () => {
    await page.evaluate(readFileSync(axeSource, 'utf8'));
    await page.evaluate(() => document.querySelectorAll('details').forEach((part) => { part.open = true; }));
    await page.locator('#headphones-add').click();
    for (const [name, viewport, colorScheme] of looks) {
        await page.setViewportSize(viewport);
        await page.emulateMedia({ colorScheme, reducedMotion: 'reduce' });
        const { violations, width } = await page.evaluate(async () => ({ width: document.documentElement.scrollWidth,
            violations: (await globalThis.axe.run()).violations.map(({ id, nodes }) => `${id}: ${nodes.map(({ html }) => html).join('\n')}`) }));
        assert.deepEqual(violations, [], name);
        assert.equal(width, viewport.width, `${name} scrolls sideways`);
        await page.evaluate(() => scrollTo(0, 0));
        await page.screenshot({ path: join(pictures, `${name}.png`), fullPage: true });
    }
});

test('NothingMoves_WhileNothingChanges', async () => {
    const changes = await page.evaluate(() => new Promise((resolve) => {
        const seen = [];
        new MutationObserver((records) => seen.push(...records.map(({ type, target }) => `${type} ${target.nodeName} ${target.id}`)))
            .observe(document, { subtree: true, childList: true, attributes: true, characterData: true });
        setTimeout(() => resolve(seen), 3000);
    }));
    assert.deepEqual(changes, []);
});

test('WithoutItsToken_ThePageSaysHowToOpenIt', async () => {
    const other = await browser.newPage();
    await other.goto(page.url());
    await eventually(() => other.locator('#banner').innerText(), (text) => /Open it with tessarune-config page/.test(text));
    assert.ok(await other.locator('#page').isHidden());
    await other.close();
});

test('WhenTheServerEnds_ThePageSaysSoOnce', async () => {
    assert.deepEqual(errors, []);
    await server.end('SIGTERM');
    server = null;
    await eventually(() => textOf('#banner'), (text) => /tessarune-config page/.test(text));
    await page.waitForTimeout(1500);
    assert.equal(await page.locator('#banner p').count(), 1);
});
