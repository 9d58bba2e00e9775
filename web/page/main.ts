// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The page: its states, and what its controls do.
import type { Finished, Frame, Note, Reply, Request } from '../worker/messages.js';
import { listOutputs, send, silence } from './midi.js';
import { noteName, pitchOf, Roll } from './roll.js';
import { drawScore, save, saveSvg, stopPlaying, togglePlaying } from './score.js';
import { decode, openMicrophone, Problem, type Microphone } from './sound.js';

const silenceSeconds = 6; // after which the page mentions it
const silentPeak = 0.002; // of full scale, 54 dB below it
const closeCents = 10; // deviation that is shown as in tune

const element = <Kind extends HTMLElement>(id: string) => document.getElementById(id) as Kind;
const button = element<HTMLButtonElement>('listen');
const roll = new Roll(element<HTMLCanvasElement>('roll'));
const paper = element('paper');

let state: 'idle' | 'opening' | 'listening' | 'finishing' = 'idle';
let worker: Worker | undefined;
let microphone: Microphone | undefined;
let result: Finished | undefined;
let title = ''; // of the files
let loudest = 0; // peak of the sound so far

const show = (text: string): void => void (element('status').textContent = text);

function showProblem(text: string): void {
    element('problem').textContent = text;
    element('problem').hidden = text === '';
}

function enter(next: typeof state): void {
    state = next;
    button.classList.toggle('listens', state === 'listening');
    button.textContent = state === 'listening' ? 'Stop and show the score' : 'Start listening';
    // A disabled button would lose the focus.
    button.ariaDisabled = String(state === 'opening' || state === 'finishing');
}

function fail(error: unknown): void {
    const { message } = error as Error;
    showProblem(error instanceof Problem ? message : `Something went wrong: ${message}`);
    show('');
    microphone?.stop();
    microphone = undefined;
    enter('idle');
}

// The worker, started anew after an error.
function request(message: Request, transfer: Transferable[]): void {
    if (!worker) {
        const started = new Worker(new URL('../worker/listener.js', import.meta.url), { type: 'module' });
        const abandon = (error: Error) => {
            started.terminate();
            if (worker !== started) return;
            worker = undefined;
            fail(error);
        };
        started.onerror = (event) => abandon(new Error(event.message || 'the worker could not be loaded'));
        started.onmessage = ({ data }: MessageEvent<Reply>) => {
            if (data.kind === 'heard') hear(data.frames, data.notes);
            else if (data.kind === 'finished') finish(data);
            else abandon(new Problem(data.reason));
        };
        worker = started;
    }
    worker.postMessage(message, transfer);
}

const counted = (count: number, name: string) => `${count} ${name}${count === 1 ? '' : 's'}`;

// Removes what an earlier sound has left.
function reset(name: string): void {
    stopPlaying();
    title = name;
    result = undefined;
    loudest = 0;
    element('score').hidden = true;
    showPlaying(false);
    showProblem('');
    roll.clear();
}

async function listen(): Promise<void> {
    reset('melody');
    enter('opening');
    show('Opening the microphone …');
    const channel = new MessageChannel();
    try {
        microphone = await openMicrophone(channel.port1, () => {
            showProblem('The microphone was disconnected.');
            stopListening();
        });
    } catch (error) {
        return fail(error);
    }
    request({ kind: 'listen', rate: microphone.rate, blocks: channel.port2 }, [channel.port2]);
    enter('listening');
    show('Listening. Sing or play one line.');
}

function stopListening(): void {
    enter('finishing');
    microphone?.stop();
    microphone = undefined;
    // The last samples come from the audio thread; if it does not run, this ends the sound.
    setTimeout(() => worker?.postMessage({ kind: 'finish' } satisfies Request), 500);
}

async function open(file: File): Promise<void> {
    if (state !== 'idle') return;
    reset(file.name.replace(/\.[^.]*$/, ''));
    enter('finishing');
    show(`Analysing “${file.name}” …`);
    try {
        const { rate, channels } = await decode(file);
        request({ kind: 'take', rate, channels, title }, []);
    } catch (error) {
        fail(error);
    }
}

function hear(frames: Frame[], notes: Note[]): void {
    if (state !== 'listening' && state !== 'finishing') return;
    roll.add(frames, notes);
    send(notes);
    const frame = frames.at(-1);
    if (!frame) return;
    loudest = Math.max(loudest, ...frames.map((each) => each.peak));
    if (loudest < silentPeak && frame.begin > silenceSeconds)
        show('There is only silence so far. Is the right microphone chosen, and is it not muted?');
    else if (element('status').textContent?.startsWith('There is only silence')) show('Listening.');
    showSound(frame.peak, frame.frequency);
}

function showSound(peak: number, frequency: number): void {
    element<HTMLMeterElement>('level').value = Math.max(-60, Math.round(20 * Math.log10(peak + 1e-6)));
    const pitch = frequency > 0 ? pitchOf(frequency) : 0;
    const key = Math.round(pitch);
    const cents = Math.round((pitch - key) * 100);
    Object.assign(element('needle').style, { opacity: pitch > 0 ? '1' : '0', left: `${50 + cents}%` });
    element('needle').classList.toggle('close', Math.abs(cents) <= closeCents);
    element('name').textContent = pitch > 0 ? noteName(key) : '–';
    element('cents').textContent = pitch > 0 ? `${cents > 0 ? '+' : ''}${cents} cents` : '\u00a0';
}

async function finish(finished: Finished): Promise<void> {
    result = finished;
    silence();
    showSound(0, 0);
    const { notes, seconds, frames } = finished;
    roll.showAll(notes, seconds, frames);
    enter('idle');
    if (finished.lost > 0)
        showProblem(`The computer was too busy: ${finished.lost.toFixed(2)} s of the sound were lost.`);
    if (notes.length === 0) return show('No note was found in this sound.');
    const lasting = `${counted(notes.length, 'note')} in ${seconds.toFixed(1)} s of sound`;
    element('summary').textContent = lasting;
    element('score').hidden = false;
    element<HTMLButtonElement>('saveSvg').disabled = true;
    element('scoreTitle').focus({ preventScroll: true });
    show(`${lasting}. Drawing the score …`);
    try {
        const bars = await drawScore(paper, finished.musicXml);
        if (result !== finished) return;
        element<HTMLButtonElement>('saveSvg').disabled = false;
        paper.ariaLabel = `The notes on a staff: ${counted(bars, 'bar')}`;
        element('summary').textContent = `${lasting}, ${counted(bars, 'bar')}`;
        show(`${element('summary').textContent}. The score is below.`);
    } catch (error) {
        paper.replaceChildren();
        showProblem((error as Error).message);
        show(lasting);
    }
}

button.onclick = () => {
    if (state === 'listening') stopListening();
    else if (state === 'idle') void listen();
};
element<HTMLInputElement>('file').onchange = (event) => {
    const input = event.target as HTMLInputElement;
    if (input.files?.[0]) void open(input.files[0]);
    input.value = '';
};
for (const kind of ['dragover', 'dragleave', 'drop'] as const)
    addEventListener(kind, (event) => {
        event.preventDefault();
        document.body.classList.toggle('drop', kind === 'dragover');
        const file = kind === 'drop' && event.dataTransfer?.files[0];
        if (file) void open(file);
    });
const showPlaying = (plays: boolean) => (element('play').textContent = plays ? 'Stop' : 'Play');
element('play').onclick = () => result && showPlaying(togglePlaying(result.notes, () => showPlaying(false)));
element('saveMidi').onclick = () => save(result!.midi as BlobPart, 'audio/midi', `${title}.mid`);
element('saveXml').onclick = () => save(result!.musicXml, 'application/vnd.recordare.musicxml+xml', `${title}.musicxml`);
element('saveSvg').onclick = () => saveSvg(paper, `${title}.svg`);
element('connect').hidden = !('requestMIDIAccess' in navigator);
element('connect').onclick = () => listOutputs(element<HTMLSelectElement>('output')).then(() => {
    element('connect').hidden = true;
    element('outputs').hidden = false;
    element('output').focus();
}, (error: Error) => showProblem(error.message));

const lacks = ['WebAssembly', 'Worker', 'AudioContext', ...(isSecureContext ? ['AudioWorkletNode'] : [])]
    .filter((name) => !(name in window));
button.hidden = lacks.length > 0;
if (lacks.length > 0)
    showProblem(`This browser lacks ${lacks.join(' and ')}. Use a current Firefox, Chrome, Edge or Safari.`);

// Keeps the page for use offline, and what scores need too when the browser is idle, unless it saves data.
async function keepOffline(): Promise<void> {
    const { serviceWorker, connection } = navigator as Navigator & { connection?: { saveData: boolean } };
    await serviceWorker?.register('service.js');
    const active = (await serviceWorker?.ready)?.active;
    if (!connection?.saveData) (window.requestIdleCallback ?? setTimeout)(() => active?.postMessage('keep'));
}
keepOffline().catch(() => undefined); // without it the page needs the network
