// The library's resources as the stand-in keeps them, made from the files in resources/.
#pragma once

#include "platform/calls/resources.h"

extern const machine::Resources ModuleResources;
