// The library's life from MIDISysInit to MIDISysTerm.
#pragma once

// Between a MIDISysInit that brought up a driver and MIDISysTerm. Thread: any. Real time: yes.
bool LibraryIsUp();
