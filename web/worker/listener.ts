// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The worker: turns the samples of the microphone or of a file into notes.
import { documents, Listener, loadListener } from './hearing.js';
import type { Block, Finished, Note, Reply, Request } from './messages.js';

interface Live {
    listener: Listener;
    rate: number;
    notes: Note[]; // that have ended
    first: number; // position of the first sample
    next: number; // position that is expected next
    lost: number; // samples
}
let live: Live | undefined;

const reply = (message: Reply) => postMessage(message);
const nothing = { musicXml: '', midi: new Uint8Array() };

type Result = Omit<Finished, 'kind' | 'musicXml' | 'midi'>;

async function finish(result: Result, title: string): Promise<void> {
    try {
        const written = result.notes.length > 0 ? await documents(result.notes, title) : nothing;
        reply({ kind: 'finished', ...result, ...written });
    } catch (error) {
        reply({ kind: 'failed', reason: `The score could not be written: ${(error as Error).message}.` });
    }
}

function report(sound: Live): void {
    const notes = sound.listener.notes();
    for (const note of notes) if (!note.open) sound.notes.push(note);
    const frames = sound.listener.frames();
    if (notes.length + frames.length > 0) reply({ kind: 'heard', frames, notes });
}

function listen(rate: number, blocks: MessagePort): void {
    live?.listener.close();
    const sound: Live = { listener: new Listener(rate, 1, true), rate, notes: [], first: -1, next: -1, lost: 0 };
    live = sound;
    blocks.onmessage = guard(({ position, samples, last }: Block) => {
        if (live !== sound) return;
        if (samples.length > 0) {
            if (sound.first < 0) sound.first = sound.next = position;
            // Skipped samples count as silence, so that the times stay right.
            const skipped = position - sound.next;
            if (skipped > 0) sound.listener.feed([new Float32Array(skipped)]);
            sound.lost += skipped;
            sound.listener.feed([samples]);
            sound.next = position + samples.length;
            report(sound);
        }
        if (last) endListening();
    });
}

function endListening(): void {
    if (!live) return;
    const sound = live;
    live = undefined;
    sound.listener.finish();
    report(sound);
    sound.listener.close();
    const { notes, lost, rate, next, first } = sound;
    void finish({ frames: [], notes, lost: lost / rate, seconds: (next - first) / rate }, 'Melody');
}

function analyse(rate: number, channels: Float32Array[], title: string): void {
    const listener = new Listener(rate, channels.length, false);
    listener.feed(channels);
    listener.finish();
    const notes = listener.notes();
    const frames = listener.frames();
    listener.close();
    void finish({ frames, notes, lost: 0, seconds: channels[0].length / rate }, title);
}

// An error is sent to the page.
function guard<Message>(work: (message: Message) => void): (event: MessageEvent<Message>) => void {
    return ({ data }) => {
        try {
            work(data);
        } catch (error) {
            live = undefined;
            reply({ kind: 'failed', reason: (error as Error).message });
        }
    };
}

const loading = loadListener();
loading.catch((error: Error) => reply({ kind: 'failed', reason: `The page could not be loaded: ${error.message}.` }));
const receive = guard((request: Request) => {
    if (request.kind === 'listen') listen(request.rate, request.blocks);
    else if (request.kind === 'finish') endListening();
    else analyse(request.rate, request.channels, request.title);
});
onmessage = (event: MessageEvent<Request>) => loading.then(() => receive(event));
