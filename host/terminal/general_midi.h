// What General MIDI and its makers call programs and controllers.
#pragma once

namespace zorhost {

// Of a program from 0 to 127: "Acoustic grand piano".
const char* ProgramName(int program);

// Of a controller from 0 to 127; empty where it has no name.
const char* ControllerName(int controller);

} // namespace zorhost
