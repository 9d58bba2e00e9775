// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The piano roll: notes and the measured pitch over time, drawn on a canvas.
import type { Frame, Note } from '../worker/messages.js';

const names = ['C', 'C♯', 'D', 'E♭', 'E', 'F', 'F♯', 'G', 'A♭', 'A', 'B♭', 'B'];
const keptFrames = 1024; // about 24 s
const gutter = 40; // pixels for the names of the keys

export const noteName = (key: number) => names[key % 12] + (Math.floor(key / 12) - 1);
export const pitchOf = (frequency: number) => 69 + 12 * Math.log2(frequency / 440);

export class Roll {
    private readonly context: CanvasRenderingContext2D;
    private notes: Note[] = [];
    private frames: Frame[] = [];
    private end = 0; // seconds: the right edge while it scrolls
    private whole = false; // shows all instead of the last seconds
    private low = 55; // keys
    private high = 79;
    private requested = false;

    constructor(private readonly canvas: HTMLCanvasElement) {
        this.context = canvas.getContext('2d')!;
        new ResizeObserver(() => this.request()).observe(canvas);
        matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.request());
    }

    clear(): void {
        [this.notes, this.frames, this.end, this.whole] = [[], [], 0, false];
        [this.low, this.high] = [55, 79];
        this.describe('notes appear here');
        this.request();
    }

    // Adds what was just heard. An open note is replaced when it has ended.
    add(frames: Frame[], notes: Note[]): void {
        this.frames.push(...frames);
        if (this.frames.length > 2 * keptFrames) this.frames.splice(0, this.frames.length - keptFrames);
        for (const note of notes) {
            if (this.notes.at(-1)?.open) this.notes.pop();
            if (this.notes.length === 0) [this.low, this.high] = [note.key - 6, note.key + 6];
            this.notes.push(note);
            this.include(note.key);
        }
        this.end = Math.max(this.end, frames.at(-1)?.begin ?? 0);
        this.request();
    }

    // Shows a whole recording. Without frames those stay that are there.
    showAll(notes: Note[], seconds: number, frames: Frame[]): void {
        [this.notes, this.end, this.whole] = [notes, seconds, true];
        if (frames.length > 0) this.frames = frames;
        if (notes.length > 0) [this.low, this.high] = [127, 0];
        for (const note of notes) this.include(note.key);
        this.describe(`${notes.length} notes: ${notes.slice(0, 200).map((note) => noteName(note.key)).join(' ')}`);
        this.request();
    }

    private describe(text: string): void {
        this.canvas.setAttribute('aria-label', `Piano roll: ${text}`);
    }

    private include(key: number): void {
        this.low = Math.max(0, Math.min(this.low, key - 3));
        this.high = Math.min(127, Math.max(this.high, key + 3));
        while (this.high - this.low < 12) [this.low, this.high] = [Math.max(0, this.low - 1), this.high + 1];
    }

    private request(): void {
        if (this.requested) return;
        this.requested = true;
        requestAnimationFrame(() => this.draw());
    }

    private draw(): void {
        this.requested = false;
        const { canvas, context } = this;
        const scale = devicePixelRatio;
        const { clientWidth: width, clientHeight: height } = canvas;
        const pixels = [Math.round(width * scale), Math.round(height * scale)];
        if (canvas.width !== pixels[0] || canvas.height !== pixels[1]) [canvas.width, canvas.height] = pixels;
        context.setTransform(scale, 0, 0, scale, 0, 0);
        const style = getComputedStyle(canvas);
        const color = (name: string) => style.getPropertyValue(`--${name}`);
        context.clearRect(0, 0, width, height);

        const row = height / (this.high - this.low + 1);
        const top = (pitch: number) => (this.high - pitch) * row;
        const shown = Math.min(12, Math.max(4, width / 90)); // seconds, while it scrolls
        const begin = this.whole ? 0 : Math.max(0, this.end - shown * 0.9);
        const seconds = this.whole ? Math.max(this.end, 1) : shown;
        const left = (time: number) => gutter + ((time - begin) / seconds) * (width - gutter);

        context.font = '12px system-ui, sans-serif';
        context.textBaseline = 'middle';
        for (let key = this.low; key <= this.high; ++key) {
            if ([1, 3, 6, 8, 10].includes(key % 12)) {
                context.fillStyle = color('black-key');
                context.fillRect(gutter, top(key), width, row);
            } else if (row > 13 || [0, 4, 7].includes(key % 12)) {
                context.fillStyle = color('soft');
                context.fillText(noteName(key), 6, Math.min(Math.max(7, top(key) + row / 2), height - 7));
            }
        }
        const step = [1, 5, 15, 60, 300, 900].find((each) => ((width - gutter) * each) / seconds > 50) ?? 3600;
        for (let time = Math.ceil(begin / step) * step; time < begin + seconds; time += step) {
            context.fillStyle = color('grid');
            context.fillRect(left(time), 0, 1, height);
            context.fillStyle = color('soft');
            const text = step < 60 ? `${time} s` : `${time / 60} min`;
            if (left(time) + 4 + context.measureText(text).width < width) context.fillText(text, left(time) + 4, height - 9);
        }

        context.save();
        context.beginPath();
        context.rect(gutter, 0, width, height);
        context.clip();
        for (let i = this.notes.length - 1; i >= 0 && this.notes[i].end >= begin; --i) {
            const note = this.notes[i];
            const end = note.open ? this.end : note.end;
            context.fillStyle = color('note');
            context.strokeStyle = color('open');
            context.lineWidth = 2;
            context.beginPath();
            context.roundRect(left(note.onset), top(note.key) + 1, Math.max(3, left(end) - left(note.onset) - 1),
                Math.max(3, row - 2), Math.min(4, row / 3));
            if (note.open) context.stroke(); // only an outline, before which the pitch stands out
            else context.fill();
            if (row < 13 || left(end) - left(note.onset) < 24) continue;
            context.fillStyle = color('text');
            context.fillText(noteName(note.key), left(note.onset) + 1, top(note.key) - 7);
        }
        context.strokeStyle = color('text');
        context.lineWidth = 1.5;
        context.beginPath();
        let last = 0; // pitch of the frame before; 0 without
        for (const { begin: time, frequency } of this.frames) {
            if (time < begin) continue;
            const pitch = frequency > 0 ? pitchOf(frequency) : 0;
            const move = Math.abs(pitch - last) < 2 ? 'lineTo' : 'moveTo';
            if (pitch > 0) context[move](left(time), top(pitch) + row / 2);
            last = pitch;
        }
        context.stroke();
        context.restore();
    }
}
