// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Sends the notes to a MIDI output, where the browser has WebMIDI.
import type { Note } from '../worker/messages.js';
import { Problem } from './sound.js';

let output: MIDIOutput | undefined;
let sounding: number | undefined; // key

// Requests the outputs and fills the list with them, now and whenever one comes or goes. Throws Problem.
export async function listOutputs(list: HTMLSelectElement): Promise<void> {
    const access = await navigator.requestMIDIAccess().catch(() => {
        throw new Problem('The browser has no permission for MIDI. Allow it in the settings of the browser.');
    });
    const fill = () => {
        const chosen = list.value;
        const outputs = [...access.outputs.values()];
        list.replaceChildren(new Option(outputs.length > 0 ? 'None' : 'There is no MIDI output', ''),
            ...outputs.map((each) => new Option(each.name ?? each.id, each.id)));
        list.value = outputs.some((each) => each.id === chosen) ? chosen : '';
        choose();
    };
    const choose = () => {
        if (output?.id === list.value) return;
        silence();
        output = access.outputs.get(list.value);
    };
    access.onstatechange = fill;
    list.onchange = choose;
    fill();
}

// Ends the note that sounds.
export function silence(): void {
    if (sounding !== undefined && output?.state === 'connected') output.send([0x80, sounding, 64]);
    sounding = undefined;
}

// Sends notes as they begin and end.
export function send(notes: Note[]): void {
    if (!output) return;
    for (const { open, key, velocity } of notes) {
        silence();
        if (!open) continue;
        output.send([0x90, key, velocity]);
        sounding = key;
    }
}
