// The three rings of records between the host and the real-time side.
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

// One ring. One slot always stays free, so that Head equal to Tail means empty. What is atomic is
// also read outside the sections, as a first test or for display: relaxed, since a record itself is
// only touched inside one.
struct MIDIQueue {
    std::atomic<std::uint16_t> Size;  // slots, 0 without a block
    std::atomic<std::uint16_t> Count; // records
    MIDIEvent* Tail;                  // the slot to be written next
    MIDIEvent* Head;                  // the oldest record
    std::atomic<MIDIEvent*> Start;    // null without a block
    MIDIEvent* End;
    HGLOBAL Memory;
    std::atomic<std::int32_t> Etime;   // of the record played last
    std::atomic<std::uint16_t> Marker; // of the marker record played last

    Generation Emptied; // what the last emptying or replacing raised the generation to

    bool Holds() const { return Count.load(std::memory_order_relaxed) != 0; }
    bool HasBlock() const { return Start.load(std::memory_order_relaxed) != nullptr; }

    // The rest must be called inside a section.
    MIDIEvent* After(MIDIEvent* slot) const;
    // Etime and Marker stay. Raises the generation.
    void Empty();
    // Takes Head out; the ring must hold a record.
    void Drop();
    // Clears the whole record, gives the ring this block (null for none), returns the old one.
    HGLOBAL Replace(HGLOBAL memory, MIDIEvent* address, std::uint16_t slots);
};

constexpr int QueueCount = 3;
constexpr int InputQueue = ZOR_QUEUE_INPUT;
constexpr int FirstOutputQueue = ZOR_QUEUE_OUTPUT;
extern MIDIQueue MIDIQueues[QueueCount];

// Appends a copy of the record. A full ring refuses it, or with overwrite loses its oldest one.
// Thread: any. Real time: yes.
bool PushMQ(const MIDIEvent& event, MIDIQueue& queue, bool overwrite);

void EmptyQueue(MIDIQueue& queue);
void EmptyAllQueues();
// Gives every queue's memory back.
void FreeAllQueues();

// The time of the earliest record at the head of an output queue; NoEvent if both are empty.
// Thread: any. Real time: yes.
constexpr std::int32_t NoEvent = 0x7FFFFFFF;
std::int32_t NextEventTime();
