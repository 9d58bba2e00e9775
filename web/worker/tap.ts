// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Runs on the audio thread: sends the microphone's samples to the worker, in blocks with their position.
import type { Block } from './messages.js';

declare const currentFrame: number;
declare class AudioWorkletProcessor {
    readonly port: MessagePort;
}
declare function registerProcessor(name: string, processor: new () => AudioWorkletProcessor): void;

const blockSize = 512;

class Tap extends AudioWorkletProcessor {
    private blocks?: MessagePort;
    private samples = new Float32Array(blockSize);
    private count = 0;
    private position = 0;

    constructor() {
        super();
        // First the port of the worker, then, at the end, null.
        this.port.onmessage = ({ data }: MessageEvent<MessagePort | null>) => {
            if (data) this.blocks = data;
            else this.send(true);
        };
    }

    process(inputs: Float32Array[][]): boolean {
        const input = inputs[0]?.[0];
        if (!input || !this.blocks) return true;
        if (this.count > 0 && this.position + this.count !== currentFrame) this.send(false);
        if (this.count === 0) this.position = currentFrame;
        this.samples.set(input, this.count);
        this.count += input.length;
        if (this.count + input.length > blockSize) this.send(false);
        return true;
    }

    private send(last: boolean): void {
        const samples = this.samples.subarray(0, this.count).slice();
        const block: Block = { position: this.position, samples, last };
        this.blocks?.postMessage(block, [samples.buffer]);
        this.position += this.count; // where the last block lies if it is empty
        this.count = 0;
        if (last) this.blocks = undefined;
    }
}

registerProcessor('tap', Tap);
