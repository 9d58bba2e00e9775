// The library's resources as the stand-in keeps them, made from the files in resources/.
#pragma once

#include "platform/ui/template.h"
#include "platform/virtual/modules.h"

#include <span>

extern const std::span<const machine::StringResource> ModuleStrings;
extern const std::span<const ui::DialogTemplate> ModuleDialogs;
