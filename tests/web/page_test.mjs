// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The page in a real browser, against zorhost. Environment: ZORHOST, the program.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import http from 'node:http';
import os from 'node:os';
import path from 'node:path';
import { after, before, test } from 'node:test';

const { default: puppeteer } = await import(path.resolve(
    'build/web-tools/node_modules/puppeteer-core/lib/esm/puppeteer/puppeteer-core.js'));
const melody = path.resolve('examples/melody.flac');
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'zormidi-page-'));
const types = { '.html': 'text/html', '.js': 'text/javascript', '.css': 'text/css', '.wasm': 'application/wasm',
    '.svg': 'image/svg+xml' };
let server, address, browser;

const zorhost = (...options) => execFileSync(process.env.ZORHOST, ['transcribe', ...options], { encoding: 'utf8' });
const notesOf = (file, ...options) => zorhost(file, ...options, '--json').trim().split('\n').map(JSON.parse)
    .filter(({ kind }) => kind === 'note');
// As zorhost prints them.
const rounded = (notes) => notes.map(({ onset, start = onset, end, key, velocity, cents, confidence }) =>
    [start.toFixed(3), end.toFixed(3), key, velocity, cents.toFixed(3), confidence.toFixed(3)]);

// A mono WAV file of 32-bit floating-point samples.
function writeWav(file, rate, samples) {
    const head = Buffer.alloc(44);
    head.write('RIFF\0\0\0\0WAVEfmt ', 'latin1');
    head.writeUInt32LE(36 + samples.byteLength, 4);
    head.writeUInt32LE(16, 16);
    [3, 1].forEach((value, index) => head.writeUInt16LE(value, 20 + 2 * index));
    [rate, 4 * rate].forEach((value, index) => head.writeUInt32LE(value, 24 + 4 * index));
    [4, 32].forEach((value, index) => head.writeUInt16LE(value, 32 + 2 * index));
    head.write('data', 36);
    head.writeUInt32LE(samples.byteLength, 40);
    fs.writeFileSync(file, Buffer.concat([head, Buffer.from(samples.buffer)]));
}

async function startBrowser(...flags) {
    return puppeteer.launch({ executablePath: '/usr/bin/chromium', protocolTimeout: 600_000, args: ['--no-sandbox',
        '--use-fake-device-for-media-stream', '--autoplay-policy=no-user-gesture-required', ...flags] });
}

// Opens the page. Its exchange with the worker is recorded in window.exchange, with
// exchange.records the microphone's blocks too.
async function openPage(chosen = browser) {
    const page = await (await chosen.createBrowserContext()).newPage();
    page.on('pageerror', (error) => assert.fail(error));
    await page.evaluateOnNewDocument(() => {
        const exchange = (window.exchange = { replies: [], blocks: [] });
        const RealWorker = window.Worker;
        window.Worker = class extends RealWorker {
            constructor(...parameters) {
                super(...parameters);
                this.addEventListener('message', ({ data }) => exchange.replies.push(data));
            }
            postMessage(request, transfer) {
                if (request.kind !== 'listen' || !exchange.records) return super.postMessage(request, transfer);
                const { port1, port2 } = new MessageChannel();
                request.blocks.onmessage = ({ data }) => {
                    exchange.blocks.push(data);
                    port1.postMessage(data);
                };
                super.postMessage({ ...request, blocks: port2 }, [port2]);
            }
        };
    });
    const client = await page.createCDPSession();
    await client.send('Browser.setDownloadBehavior', { behavior: 'allow', downloadPath: folder,
        browserContextId: page.browserContext().id });
    await page.goto(address);
    return page;
}

const textOf = (page, selector) => page.$eval(selector, (element) => element.textContent);
const waitFor = (page, selector, pattern) => page.waitForFunction((where, text) =>
    new RegExp(text).test(document.querySelector(where).textContent), { timeout: 120_000 }, selector, pattern);
const openFile = async (page, file) => (await page.$('#file')).uploadFile(file);
const finished = (page) => page.evaluate(() =>
    window.exchange.replies.find(({ kind }) => kind === 'finished'));

async function saved(page, button, name) {
    const file = path.join(folder, name);
    fs.rmSync(file, { force: true });
    await page.click(button);
    for (let i = 0; i < 500 && !fs.existsSync(file); ++i) await new Promise((resolve) => setTimeout(resolve, 20));
    return fs.readFileSync(file);
}

before(async () => {
    execFileSync('sox', [melody, '-r', '48000', path.join(folder, 'sung.wav')]);
    execFileSync('sox', ['-n', '-r', '22050', path.join(folder, 'silence.wav'), 'trim', '0', '2']);
    server = http.createServer((request, response) => {
        const file = path.join('build/web', request.url === '/' ? 'index.html' : request.url);
        if (!fs.existsSync(file)) return response.writeHead(404).end();
        response.writeHead(200, { 'content-type': types[path.extname(file)],
            'cross-origin-opener-policy': 'same-origin', 'cross-origin-embedder-policy': 'require-corp' }).end(fs.readFileSync(file));
    }).listen(0, '127.0.0.1');
    await new Promise((resolve) => server.once('listening', resolve));
    address = `http://127.0.0.1:${server.address().port}/`;
    browser = await startBrowser('--use-fake-ui-for-media-stream', '--enable-blink-features=ForceEagerMeasureMemory',
        `--use-file-for-fake-audio-capture=${folder}/sung.wav%noloop`);
});
after(async () => {
    await browser?.close();
    server.close();
    fs.rmSync(folder, { recursive: true });
});

// Sings the melody into the page, by keyboard, and returns what the page has received and made of it.
async function sing() {
    const page = await openPage();
    // The rate of the analysis, so that zorhost gets the very samples that the worker gets.
    await page.evaluate(() => {
        window.exchange.records = true;
        const { getSettings } = MediaStreamTrack.prototype;
        MediaStreamTrack.prototype.getSettings = function () { return { ...getSettings.call(this), sampleRate: 22050 }; };
    });
    await page.emulateCPUThrottling(4);
    await page.focus('#listen');
    await page.keyboard.press('Enter');
    await page.waitForFunction(() => window.exchange.blocks.length * 512 > 22050 * 20, { timeout: 120_000 });
    await page.keyboard.press('Enter');
    await waitFor(page, '#summary', 'bars');
    const blocks = await page.evaluate(() => window.exchange.blocks.map(({ position, samples }) =>
        ({ position, samples: [...samples] })));
    return { blocks, result: await finished(page) };
}

test('a melody sung into the page, while the processor is slowed down four times', async (context) => {
    for (let attempt = 1; ; ++attempt) {
        const { blocks, result } = await sing();
        const samples = new Float32Array(blocks.at(-1).position + blocks.at(-1).samples.length - blocks[0].position);
        for (const block of blocks) samples.set(block.samples, block.position - blocks[0].position);
        // No block is lost on its way. Only the audio thread itself may have missed some.
        assert.equal(result.lost, samples.length - blocks.reduce((sum, each) => sum + each.samples.length, 0));
        const sung = path.join(folder, 'recorded.wav');
        writeWav(sung, 22050, samples);
        assert.deepEqual(rounded(result.notes), rounded(notesOf(sung, '--as-listen')));
        if (result.lost > 0 && attempt < 3) {
            context.diagnostic(`${result.lost} samples missed by the browser on this busy machine: another attempt`);
            continue;
        }
        assert.equal(result.lost, 0);
        assert.deepEqual(result.notes.map(({ key }) => key), notesOf(melody, '--as-listen').map(({ key }) => key));
        return;
    }
});

test('a dropped file is heard as a whole and saved as zorhost writes it, by a page that was never used online', async () => {
    const page = await openPage();
    await page.waitForFunction(async () => (await caches.match('opensheetmusicdisplay.min.js')) &&
        caches.match('documents.wasm'), { polling: 100 });
    const { port } = server.address();
    server.close();
    server.closeAllConnections();
    await page.reload();
    await page.evaluate((bytes) => {
        const files = new DataTransfer();
        files.items.add(new File([Uint8Array.from(bytes)], 'melody.flac'));
        dispatchEvent(new DragEvent('drop', { dataTransfer: files }));
    }, [...fs.readFileSync(melody)]);
    await waitFor(page, '#summary', 'bars');
    assert.deepEqual(rounded((await finished(page)).notes), rounded(notesOf(melody)));
    const [midi, xml] = ['melody.mid', 'melody.musicxml'].map((name) => path.join(folder, `zorhost-${name}`));
    const bars = /(\d+) bars/.exec(zorhost(melody, '-o', midi, '--score', xml))[1];
    assert.match(await textOf(page, '#summary'), new RegExp(`30 notes in 18.7 s of sound, ${bars} bars`));
    assert.deepEqual(await saved(page, '#saveMidi', 'melody.mid'), fs.readFileSync(midi));
    assert.equal(String(await saved(page, '#saveXml', 'melody.musicxml')), fs.readFileSync(xml, 'utf8'));
    assert.match(String(await saved(page, '#saveSvg', 'melody.svg')), /^<svg.*<path/s);
    server.listen(port, '127.0.0.1');
});

test('errors are given in words', async () => {
    const refusing = await startBrowser('--deny-permission-prompts');
    const page = await openPage(refusing);
    await page.click('#listen');
    await waitFor(page, '#problem', 'no permission for the microphone');
    await openFile(page, path.resolve('README.md'));
    await waitFor(page, '#problem', 'is no sound file');
    await openFile(page, path.join(folder, 'silence.wav'));
    await waitFor(page, '#status', 'No note was found');
    await page.evaluate(() => { navigator.mediaDevices.getUserMedia = () => Promise.reject(
        new DOMException('', 'NotFoundError')); });
    await page.click('#listen');
    await waitFor(page, '#problem', 'There is no microphone');
    assert.equal(await page.$eval('#listen', (button) => button.ariaDisabled), 'false');
    await refusing.close();
});

test('an hour of sound through the worker takes no more memory than its first minutes', async () => {
    const page = await openPage();
    const samples = execFileSync('sox', [melody, '-t', 'f32', '-'], { maxBuffer: 1e8 });
    const rounds = Math.ceil((3600 * 22050) / (samples.length / 4));
    await page.evaluate((text) => {
        const melody = new Float32Array(Uint8Array.from(atob(text), (each) => each.charCodeAt(0)).buffer);
        const { port1, port2 } = new MessageChannel();
        const worker = new Worker('worker/listener.js', { type: 'module' });
        let position = 0;
        let ended = 0;
        worker.postMessage({ kind: 'listen', rate: 22050, blocks: port2 }, [port2]);
        // Each round ends with the reply to its last block.
        window.play = async (rounds) => {
            for (; rounds > 0; --rounds) {
                const end = (position + melody.length) / 22050 - 0.1;
                for (let at = 0; at < melody.length; at += 8192) {
                    const samples = melody.slice(at, at + 8192);
                    port1.postMessage({ position, samples, last: false });
                    position += samples.length;
                }
                await new Promise((resolve) => (worker.onmessage = ({ data: { frames, notes } }) => {
                    ended += notes.filter(({ open }) => !open).length;
                    if (frames.at(-1)?.begin > end) resolve();
                }));
                window.exchange.replies.length = 0;
            }
            return ended;
        };
    }, samples.toString('base64'));
    // Bytes of the page and its worker.
    const used = () => page.evaluate(async () => (await performance.measureUserAgentSpecificMemory()).bytes);
    await page.evaluate(() => window.play(20));
    const begin = await used();
    assert.ok(begin > 4e6, `${begin} bytes: the library is counted`);
    const notes = await page.evaluate((count) => window.play(count), rounds - 20);
    const growth = (await used()) - begin;
    assert.ok(Math.abs(notes - 30 * rounds) <= 1, `${notes} notes`);
    assert.ok(growth < 2e6, `${growth} bytes for ${notes} notes`);
});
