// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The three queues of records between the host and the real-time threads, as ring buffers.
#pragma once

#include "engine/generation.h"
#include "engine/zormidi.h"
#include "platform/platform.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

static_assert(sizeof(MIDIEvent) == 14);
static_assert(offsetof(MIDIEvent, Time) == 0 && offsetof(MIDIEvent, Etime) == 4);
static_assert(offsetof(MIDIEvent, Channel) == 8 && offsetof(MIDIEvent, Length) == 10);
static_assert(offsetof(MIDIEvent, Status) == 11 && offsetof(MIDIEvent, Data1) == 12);
static_assert(offsetof(MIDIEvent, Data2) == 13);

// One ring. One slot always stays free, so that Head equal to Tail means empty. All members change
// inside a QueueSection only. The atomic ones are also read outside, as a first test or for
// display: relaxed, since no record is read or written outside a section.
struct MIDIQueue {
    std::atomic<std::uint16_t> Size;   // slots; 0 without a block
    std::atomic<std::uint16_t> Count;  // records
    MIDIEvent* Tail;                   // next slot to write
    MIDIEvent* Head;                   // oldest record
    std::atomic<MIDIEvent*> Start;     // first slot; null without a block
    MIDIEvent* End;                    // one past the last slot
    HGLOBAL Memory;                    // of the block, locked while the queue owns it
    std::atomic<std::int32_t> Etime;   // of the record played last
    std::atomic<std::uint16_t> Marker; // of the marker record played last

    // The generation that the last Empty or ReplaceBlock raised.
    Generation EmptiedGeneration;

    bool HasRecords() const { return Count.load(std::memory_order_relaxed) != 0; }
    bool HasBlock() const { return Start.load(std::memory_order_relaxed) != nullptr; }

    // The functions below must be called inside a QueueSection.
    MIDIEvent* NextSlot(MIDIEvent* slot) const;
    // Removes all records and raises the generation. Etime and Marker stay.
    void Empty();
    // Removes the oldest record; the ring must not be empty.
    void Pop();
    // Resets all members, gives the ring this block (null for none) and returns the old one.
    HGLOBAL ReplaceBlock(HGLOBAL memory, MIDIEvent* address, std::uint16_t slots);
};

constexpr int QueueCount = 3;
constexpr int InputQueue = ZOR_QUEUE_INPUT;
constexpr int FirstOutputQueue = ZOR_QUEUE_OUTPUT;
extern MIDIQueue MIDIQueues[QueueCount];

// Appends a copy of the record. On a full ring it returns false, or with overwrite removes the
// oldest record first. Returns false without a block. Thread: any. Real time: yes.
bool PushMQ(const MIDIEvent& event, MIDIQueue& queue, bool overwrite);

void EmptyQueue(MIDIQueue& queue);
void EmptyAllQueues();
// Frees every queue's block. Thread: host.
void FreeAllQueues();

// The earlier Time of the two output queues' head records; NoEvent if both are empty.
// Thread: any. Real time: yes.
constexpr std::int32_t NoEvent = 0x7FFFFFFF;
std::int32_t NextEventTime();
