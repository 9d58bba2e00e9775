// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The page in a real browser, against zorhost. Environment: ZORHOST, the program.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';
import { after, before, test } from 'node:test';
import puppeteer from '../../build/web-tools/node_modules/puppeteer-core/lib/esm/puppeteer/puppeteer-core.js';

const melody = path.resolve('examples/melody.flac');
const folder = fs.mkdtempSync('/tmp/zormidi-page-');
const sox = (parameters, input) => execFileSync('sox', parameters, { input, maxBuffer: 1e8 });
const zorhost = (...parameters) => execFileSync(process.env.ZORHOST, ['transcribe', ...parameters], { encoding: 'utf8' });
const types = { '.html': 'text/html', '.js': 'text/javascript', '.css': 'text/css', '.svg': 'image/svg+xml' };
const server = http.createServer((request, response) => {
    const file = path.join('build/web', request.url === '/' ? 'index.html' : request.url);
    response.writeHead(200, { 'content-type': types[path.extname(file)] ?? 'application/wasm',
        'cross-origin-opener-policy': 'same-origin', 'cross-origin-embedder-policy': 'require-corp' });
    response.end(fs.readFileSync(file));
});
const browsers = []; // the one started last is the first

const startBrowser = async (...flags) => browsers.unshift(await puppeteer.launch({ executablePath: '/usr/bin/chromium',
    protocolTimeout: 600_000, args: ['--no-sandbox', '--use-fake-device-for-media-stream', ...flags] }));

async function openPage() {
    const downloadBehavior = { policy: 'allow', downloadPath: folder };
    const page = await (await browsers[0].createBrowserContext({ downloadBehavior })).newPage();
    page.on('pageerror', (error) => assert.fail(error));
    await page.goto(`http://127.0.0.1:${server.address().port}/`);
    return page;
}

const textOf = (page, selector) => page.$eval(selector, (element) => element.textContent);
const waitFor = (page, selector, pattern) => page.waitForFunction((where, text) =>
    new RegExp(text).test(document.querySelector(where).textContent), { timeout: 120_000 }, selector, pattern);

async function saved(page, button, name) {
    const file = `${folder}/${name}`;
    fs.rmSync(file, { force: true });
    await page.click(button);
    for (let i = 0; i < 500 && !fs.existsSync(file); ++i) await new Promise((resolve) => setTimeout(resolve, 20));
    return fs.readFileSync(file);
}

// The page shows the numbers that zorhost prints for a sound file, and saves the same bytes.
async function compare(page, file, ...options) {
    await waitFor(page, '#summary', 'bars');
    const [midi, xml] = [`${folder}/zorhost.mid`, `${folder}/zorhost.musicxml`];
    const printed = zorhost(file, ...options, '-o', midi, '--score', xml);
    const [, notes, bars] = /(\d+ notes in [\d.]+ s of sound).* (\d+ bars)/s.exec(printed);
    assert.equal(await textOf(page, '#summary'), `${notes}, ${bars}`);
    assert.deepEqual(await saved(page, '#saveMidi', 'melody.mid'), fs.readFileSync(midi));
    assert.equal(String(await saved(page, '#saveXml', 'melody.musicxml')), fs.readFileSync(xml, 'utf8'));
}

before(async () => {
    sox([melody, '-r', '48000', `${folder}/sung.wav`]);
    sox(['-n', '-r', '22050', `${folder}/silence.wav`, 'trim', '0', '2']);
    await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve).unref());
    await startBrowser('--use-fake-ui-for-media-stream', '--enable-blink-features=ForceEagerMeasureMemory',
        `--use-file-for-fake-audio-capture=${folder}/sung.wav%noloop`);
});
after(async () => {
    await Promise.all(browsers.map((browser) => browser.close()));
    fs.rmSync(folder, { recursive: true });
});

// Sings the melody into the page, by keyboard. Returns what has passed from the audio thread to the worker.
async function sing(page) {
    await page.evaluate(() => {
        // The rate of the analysis, so that zorhost gets the very samples that the worker gets.
        MediaStreamTrack.prototype.getSettings = () => ({ sampleRate: 22050 });
        const { postMessage } = Worker.prototype;
        Worker.prototype.postMessage = function (request) {
            if (request.kind !== 'listen') return postMessage.call(this, request);
            const { port1, port2 } = new MessageChannel();
            window.blocks = [];
            request.blocks.onmessage = ({ data }) => {
                window.blocks.push(data);
                port1.postMessage(data);
            };
            postMessage.call(this, { ...request, blocks: port2 }, [port2]);
        };
    });
    await page.emulateCPUThrottling(4);
    await (await page.$('#listen')).press('Enter');
    await page.waitForFunction(() => window.blocks?.length * 512 > 22050 * 20, { timeout: 120_000 });
    await page.keyboard.press('Enter');
    await waitFor(page, '#summary', 'bars');
    return page.evaluate(() => window.blocks.map(({ position, samples }) => ({ position, samples: [...samples] })));
}

test('a melody sung into the page, while the processor is slowed down four times', async (context) => {
    const keysOf = (file) => zorhost(file, '--as-listen', '--json').match(/"key":\d+/g).join();
    for (let attempt = 1; ; ++attempt) {
        const page = await openPage();
        const blocks = await sing(page);
        const samples = new Float32Array(blocks.at(-1).position + blocks.at(-1).samples.length - blocks[0].position);
        for (const block of blocks) samples.set(block.samples, block.position - blocks[0].position);
        // No block is lost on its way. On a busy machine the audio thread or the browser's microphone may miss some.
        const missed = samples.length - blocks.flatMap((block) => block.samples).length;
        const problem = `The computer was too busy: ${(missed / 22050).toFixed(2)} s of the sound were lost.`;
        assert.equal(await textOf(page, '#problem'), missed > 0 ? problem : '');
        const sung = `${folder}/Melody.wav`; // the title that the page gives to what is sung
        sox(['-t', 'f32', '-r', '22050', '-c', '1', '-', sung], Buffer.from(samples.buffer));
        await compare(page, sung, '--as-listen');
        if (missed === 0 && keysOf(sung) === keysOf(melody)) return;
        assert.ok(attempt < 6, `${missed} samples missed, and these keys: ${keysOf(sung)}`);
        context.diagnostic(`another attempt, since the browser's microphone has stumbled: ${missed} samples missed`);
    }
});

test('an hour of sound through the worker takes no more memory than its first minutes', async () => {
    const page = await openPage();
    const samples = sox([melody, '-t', 'f32', '-', 'pad', '0', '6811s']); // to 19 s
    await page.evaluate((text) => {
        const melody = new Float32Array(Uint8Array.from(atob(text), (each) => each.charCodeAt(0)).buffer);
        const { port1, port2 } = new MessageChannel();
        const worker = new Worker('worker/listener.js', { type: 'module' });
        worker.postMessage({ kind: 'listen', rate: 22050, blocks: port2 }, [port2]);
        let position = 0;
        // Each block, of a second, has a reply. Returns the number of notes that have ended.
        window.play = async (seconds) => {
            let notes = 0;
            for (const end = position + 22050 * seconds; position < end; position += 22050) {
                const at = position % melody.length;
                port1.postMessage({ position, samples: melody.slice(at, at + 22050), last: false });
                const { data } = await new Promise((resolve) => (worker.onmessage = resolve));
                notes += data.notes.filter(({ open }) => !open).length;
            }
            return notes;
        };
    }, samples.toString('base64'));
    // Bytes of the page and its worker.
    const used = () => page.evaluate(async () => (await performance.measureUserAgentSpecificMemory()).bytes);
    await page.evaluate(() => window.play(19 * 20));
    const begin = await used();
    assert.ok(begin > 4e6, `${begin} bytes: the library is counted`);
    assert.equal(await page.evaluate(() => window.play(19 * 190)), 30 * 190);
    const growth = (await used()) - begin;
    assert.ok(growth < 2e6, `${growth} bytes`);
});

test('errors are given in words', async () => {
    await startBrowser('--deny-permission-prompts');
    const page = await openPage();
    const openFile = async (file) => (await page.$('#file')).uploadFile(file);
    const unplug = () => page.evaluate(() => {
        navigator.mediaDevices.getUserMedia = () => Promise.reject(new DOMException('', 'NotFoundError'));
    });
    for (const [action, where, words] of [
        [() => page.click('#listen'), '#problem', 'no permission for the microphone'],
        [() => openFile(path.resolve('README.md')), '#problem', 'is no sound file'],
        [() => openFile(`${folder}/silence.wav`), '#status', 'No note was found'],
        [() => unplug().then(() => page.click('#listen')), '#problem', 'There is no microphone']])
        await action().then(() => waitFor(page, where, words));
});

// The last test, since it stops the server.
test('a dropped file is heard as a whole and saved as zorhost writes it, by a page that was never used online', async () => {
    const page = await openPage();
    await page.waitForFunction(async () => (await caches.match('opensheetmusicdisplay.min.js')) &&
        caches.match('documents.wasm'), { polling: 100 });
    server.close();
    server.closeAllConnections();
    await page.reload();
    const file = { items: [], files: [melody], dragOperationsMask: 1 };
    for (const step of ['dragEnter', 'dragOver', 'drop']) await page.mouse[step]({ x: 9, y: 9 }, file);
    await compare(page, melody);
    assert.match(String(await saved(page, '#saveSvg', 'melody.svg')), /^<svg.*<path/s);
});
