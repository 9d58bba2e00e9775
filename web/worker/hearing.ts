// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The C library, compiled for the browser: see zorhearing.h for its functions and records.
import type { Frame, Note } from './messages.js';

type Call<Result> = (...parameters: (number | bigint)[]) => Result;
type Library = { memory: WebAssembly.Memory } &
    Record<'_initialize' | 'malloc' | 'free' | 'ZorHearError' | 'ZorHearFeed' | 'ZorHearFinish' | 'ZorHearNextNote' |
        'ZorHearNextFrame' | 'ZorHearClose', Call<number>> &
    Record<'ZorHearOpen' | 'ZorHearMusicXml' | 'ZorHearMidiFile', Call<bigint>>;

const noteSize = 56; // bytes of a ZorHearNote
const optionsSize = 40; // bytes of a ZorHearScoreOptions
const chunk = 16384; // samples that are copied at once
const floats = 1; // ZOR_HEAR_FLOAT32
// Two parts of the library: one has the functions of a listener; the other, those that write documents, is
// loaded when the first ones are wanted.
let library: Library;
let writer: Library | undefined;

async function load(file: string): Promise<Library> {
    const bytes = await (await fetch(new URL(file, import.meta.url))).arrayBuffer();
    const module = await WebAssembly.compile(bytes);
    // The library opens no file and has no environment; of the system it needs only memory.
    const imports: Record<string, Record<string, () => number>> = {};
    for (const { module: from, name } of WebAssembly.Module.imports(module))
        (imports[from] ??= {})[name] = () => {
            if (name === 'proc_exit') throw new Error('there is not enough memory for this sound');
            return 0;
        };
    const part = (await WebAssembly.instantiate(module, imports)).exports as unknown as Library;
    part._initialize();
    return part;
}

// Loads the library. Rejects if the browser cannot compile it.
export async function loadListener(): Promise<void> {
    library = await load('../listener.wasm');
}

function check(result: number | bigint, part = library): number {
    if (result >= 0) return Number(result);
    const text = new Uint8Array(part.memory.buffer, part.ZorHearError());
    throw new Error(new TextDecoder().decode(text.slice(0, text.indexOf(0))));
}

// One sound. Close it at the end.
export class Listener {
    private readonly number: bigint;
    private readonly input: number;
    private readonly record: number;

    constructor(rate: number, private readonly channels: number, live: boolean) {
        this.number = library.ZorHearOpen(rate, channels, floats, live ? 1 : 0);
        check(this.number);
        this.input = library.malloc(4 * chunk * channels);
        this.record = library.malloc(noteSize);
    }

    // All channels have the same length.
    feed(channels: Float32Array[]): void {
        const length = channels[0].length;
        for (let begin = 0; begin < length; begin += chunk) {
            const count = Math.min(chunk, length - begin);
            const samples = new Float32Array(library.memory.buffer, this.input, count * this.channels);
            channels.forEach((channel, offset) => {
                for (let i = 0; i < count; ++i) samples[i * this.channels + offset] = channel[begin + i];
            });
            check(library.ZorHearFeed(this.number, this.input, count));
        }
    }

    finish = () => check(library.ZorHearFinish(this.number));

    frames(): Frame[] {
        const frames: Frame[] = [];
        while (check(library.ZorHearNextFrame(this.number, this.record)) === 1) {
            const [begin, frequency, peak] = new Float64Array(library.memory.buffer, this.record, 3);
            frames.push({ begin, frequency, peak });
        }
        return frames;
    }

    notes(): Note[] {
        const notes: Note[] = [];
        while (check(library.ZorHearNextNote(this.number, this.record)) === 1) {
            const [onset, end, , cents, confidence] = new Float64Array(library.memory.buffer, this.record, 5);
            const [key, velocity, open] = new Int32Array(library.memory.buffer, this.record + 40, 3);
            notes.push({ onset, end, key, cents, confidence, velocity, open: open === 1 });
        }
        return notes;
    }

    close(): void {
        library.ZorHearClose(this.number);
        library.free(this.input);
        library.free(this.record);
    }
}

// Calls write for the length, then for the bytes.
function read(part: Library, zeros: number, write: Call<bigint>, ...parameters: number[]): Uint8Array {
    const length = check(write(...parameters, 0, 0), part);
    const address = part.malloc(length + zeros);
    check(write(...parameters, address, length + zeros), part);
    const bytes = new Uint8Array(part.memory.buffer, address, length).slice();
    part.free(address);
    return bytes;
}

// The notes, at least one, as a score and as a MIDI file. Rejects if the part that writes them cannot be loaded.
export async function documents(notes: Note[], title: string): Promise<{ musicXml: string; midi: Uint8Array }> {
    const part = (writer ??= await load('../documents.wasm'));
    const name = new TextEncoder().encode(`${title}\0`);
    const options = noteSize * notes.length;
    const records = part.malloc(options + optionsSize + name.length);
    new Uint8Array(part.memory.buffer, records, options + optionsSize).fill(0);
    const view = new DataView(part.memory.buffer, records);
    notes.forEach((note, index) => {
        [note.onset, note.end, note.key, note.cents, note.confidence].forEach((value, field) =>
            view.setFloat64(index * noteSize + 8 * field, value, true));
        view.setInt32(index * noteSize + 40, note.key, true);
        view.setInt32(index * noteSize + 44, note.velocity, true);
    });
    view.setUint32(options, records + options + optionsSize, true); // title
    view.setFloat64(options + 24, -1, true); // pickup: to be found
    new Uint8Array(part.memory.buffer, records + options + optionsSize).set(name);
    const musicXml = read(part, 1, part.ZorHearMusicXml, records, notes.length, records + options);
    const midi = read(part, 0, part.ZorHearMidiFile, records, notes.length, 120);
    part.free(records);
    return { musicXml: new TextDecoder().decode(musicXml), midi };
}
