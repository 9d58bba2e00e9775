// Counts what the program takes from the heap by new, in the stand-in's library too.
#pragma once

int Allocations();
