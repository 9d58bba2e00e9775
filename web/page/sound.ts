// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Where the sound comes from: the microphone, or a file.

// An error whose message is an English sentence for the user.
export class Problem extends Error {}

const microphoneProblems: Record<string, string> = {
    NotAllowedError: 'The browser has no permission for the microphone. Allow it in the address bar or the ' +
        'settings of the browser, then press Start again. Opening a sound file works without it.',
    NotFoundError: 'There is no microphone. Connect one and press Start again, or open a sound file.',
    NotReadableError: 'The microphone cannot be opened; another program may be using it.',
};

export interface Microphone {
    rate: number; // Hz
    stop(): void; // sends the last samples
}

// Sends the microphone's samples to a port. onEnd is called when the microphone is unplugged. Throws Problem.
export async function openMicrophone(blocks: MessagePort, onEnd: () => void): Promise<Microphone> {
    if (!navigator.mediaDevices?.getUserMedia)
        throw new Problem('The browser gives no microphone to this page: open it by https or on localhost.');
    // Speech processing would damage music.
    const audio = { echoCancellation: false, noiseSuppression: false, autoGainControl: false };
    const stream = await navigator.mediaDevices.getUserMedia({ audio }).catch(({ name, message }: Error) => {
        throw new Problem(microphoneProblems[name] ?? `The microphone cannot be opened: ${message}`);
    });
    const track = stream.getAudioTracks()[0];
    // At the microphone's own rate the browser does not resample.
    const context = new AudioContext({ sampleRate: track.getSettings().sampleRate, latencyHint: 'balanced' });
    try {
        await context.audioWorklet.addModule(new URL('../worker/tap.js', import.meta.url));
        const tap = new AudioWorkletNode(context, 'tap',
            { numberOfOutputs: 0, channelCount: 1, channelCountMode: 'explicit' });
        tap.port.postMessage(blocks, [blocks]);
        context.createMediaStreamSource(stream).connect(tap);
        await context.resume();
        track.onended = onEnd;
        const stop = () => {
            tap.port.postMessage(null);
            track.onended = null;
            track.stop();
            setTimeout(() => context.close(), 1000);
        };
        return { rate: context.sampleRate, stop };
    } catch (error) {
        track.stop();
        context.close();
        throw error;
    }
}

// The rate that a WAV, FLAC or Ogg Vorbis file names in its head; 48000 Hz for others.
function rateOf(file: ArrayBuffer): number {
    const view = new DataView(file.slice(0, 4096));
    const find = (text: string) => new TextDecoder('latin1').decode(view).indexOf(text);
    const at = (offset: number, littleEndian: boolean) =>
        offset + 4 <= view.byteLength ? view.getUint32(offset, littleEndian) : 0;
    let rate = 0;
    if (find('RIFF') === 0 && find('fmt ') > 0) rate = at(find('fmt ') + 12, true);
    else if (find('fLaC') === 0) rate = at(18, false) >>> 12;
    else if (find('OggS') === 0 && find('\x01vorbis') > 0) rate = at(find('\x01vorbis') + 12, true);
    return rate >= 8000 && rate <= 96000 ? rate : 48000;
}

// Reads a sound file at its own rate in Hz. Throws Problem.
export async function decode(file: File): Promise<{ rate: number; channels: Float32Array[] }> {
    const bytes = await file.arrayBuffer();
    const rate = rateOf(bytes);
    const buffer = await new OfflineAudioContext(1, 1, rate).decodeAudioData(bytes).catch(() => {
        throw new Problem(`“${file.name}” is no sound file that this browser can read. Try WAV, FLAC or MP3.`);
    });
    const channels = Array.from({ length: buffer.numberOfChannels }, (_, index) => buffer.getChannelData(index));
    return { rate, channels };
}
