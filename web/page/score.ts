// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The finished notes: a staff, playback and files.
import type { OpenSheetMusicDisplay } from 'opensheetmusicdisplay';
import type { Note } from '../worker/messages.js';
import { Problem } from './sound.js';

let display: OpenSheetMusicDisplay | undefined;

// Loads the notation library, when a score is drawn for the first time.
async function makeDisplay(paper: HTMLElement): Promise<OpenSheetMusicDisplay> {
    const script = document.createElement('script');
    script.src = 'opensheetmusicdisplay.min.js';
    await new Promise((resolve, reject) => {
        script.onload = resolve;
        script.onerror = () => reject(new Problem('The staff cannot be drawn, since the notation library could not ' +
            'be loaded. Open the page once with a network to keep it. The notes can be saved.'));
        document.head.append(script);
    });
    const library = (window as unknown as { opensheetmusicdisplay: typeof import('opensheetmusicdisplay') });
    return new library.opensheetmusicdisplay.OpenSheetMusicDisplay(paper,
        { backend: 'svg', drawPartNames: false, autoResize: false, drawingParameters: 'compacttight' });
}

function render(paper: HTMLElement): void {
    if (!display?.IsReadyToRender()) return;
    display.zoom = paper.clientWidth < 600 ? 0.7 : 1;
    display.render();
}

// Draws a score and returns its number of bars. Throws Problem.
export async function drawScore(paper: HTMLElement, musicXml: string): Promise<number> {
    if (!display) {
        display = await makeDisplay(paper);
        let width = paper.clientWidth;
        new ResizeObserver(() => {
            if (paper.clientWidth > 0 && paper.clientWidth !== width) render(paper);
            width = paper.clientWidth;
        }).observe(paper);
    }
    await display.load(musicXml);
    render(paper);
    return display.Sheet.SourceMeasures.length;
}

export function save(data: BlobPart, type: string, name: string): void {
    const link = document.createElement('a');
    link.href = URL.createObjectURL(new Blob([data], { type }));
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 10_000);
}

export function saveSvg(paper: HTMLElement, name: string): void {
    const drawing = paper.querySelector('svg');
    if (drawing) save(new XMLSerializer().serializeToString(drawing), 'image/svg+xml', name);
}

let playing: AudioContext | undefined;

export function stopPlaying(): void {
    playing?.close();
    playing = undefined;
}

// Plays the notes; onEnd is called after the last one. Playing again stops it. Returns whether it plays.
export function togglePlaying(notes: Note[], onEnd: () => void): boolean {
    const stopped = playing !== undefined;
    stopPlaying();
    if (stopped) return false;
    const context = (playing = new AudioContext());
    const first = notes[0].onset - 0.1;
    let next = 0;
    // Few oscillators exist at a time: notes are scheduled two seconds ahead.
    const timer = setInterval(() => {
        if (playing !== context) return clearInterval(timer);
        while (next < notes.length && notes[next].onset - first < context.currentTime + 2)
            schedule(context, notes[next++], first);
        if (next < notes.length || context.currentTime < notes[notes.length - 1].end - first + 0.3) return;
        stopPlaying();
        onEnd();
    }, 100);
    return true;
}

function schedule(context: AudioContext, note: Note, first: number): void {
    const begin = Math.max(context.currentTime, note.onset - first);
    const end = Math.max(begin + 0.06, note.end - first);
    const tone = new OscillatorNode(context, { type: 'triangle', frequency: 440 * 2 ** ((note.key - 69) / 12) });
    const envelope = new GainNode(context, { gain: 0 });
    const peak = 0.1 + (0.3 * note.velocity) / 127;
    envelope.gain.setValueAtTime(0, begin);
    envelope.gain.linearRampToValueAtTime(peak, begin + 0.015);
    envelope.gain.setTargetAtTime(peak * 0.5, begin + 0.015, 0.3);
    envelope.gain.setTargetAtTime(0, end, 0.03);
    tone.connect(envelope).connect(context.destination);
    tone.start(begin);
    tone.stop(end + 0.25);
}
