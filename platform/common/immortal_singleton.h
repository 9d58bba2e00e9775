// What lasts as long as the process.
#pragma once

namespace machine {

// The one object of its type, made when it is first asked for. Never destroyed, since threads of
// the machine's run until the process ends. Thread: any.
template <class Object>
Object& The() {
    static Object& object = *new Object;
    return object;
}

} // namespace machine
