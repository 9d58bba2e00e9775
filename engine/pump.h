// Plays what is due from the output queues.
#pragma once

#include "engine/timer.h"

// Plays and programs the next expiry. The ticket is from before whatever the caller did first.
// Thread: any; a second one at the same time puts itself off. Real time: as the devices allow.
void PlayQueues(TimerTicket ticket);
