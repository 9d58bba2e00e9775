// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// What the page, the worker and the audio thread send each other. Times are in seconds from the first sample.

export interface Note {
    onset: number;
    end: number; // provisional while open
    key: number; // MIDI note number
    cents: number; // deviation from the key
    confidence: number; // 0 to 1
    velocity: number; // 1 to 127
    open: boolean;
}

export interface Frame {
    begin: number;
    frequency: number; // Hz; 0 without a pitch
    peak: number; // greatest absolute sample; 1 is full scale
}

// The audio thread sends these through a port of their own.
export interface Block {
    position: number; // of the first sample, counted by the audio thread
    samples: Float32Array;
    last: boolean;
}

export type Request =
    | { kind: 'listen'; rate: number; blocks: MessagePort }
    | { kind: 'finish' } // ends listening
    | { kind: 'take'; rate: number; channels: Float32Array[]; title: string };

export interface Finished {
    kind: 'finished';
    frames: Frame[]; // of a file
    notes: Note[];
    lost: number; // seconds that the audio thread has skipped
    seconds: number; // length of the sound
    musicXml: string; // empty without notes
    midi: Uint8Array;
}

export type Reply = Finished | { kind: 'heard'; frames: Frame[]; notes: Note[] } | { kind: 'failed'; reason: string };
