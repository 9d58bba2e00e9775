#include "platform/resource_tables.h"

namespace {
constexpr machine::StringResource Strings[] = {
#define STRING(id, text) {id, text},
#include "resources/strings.inc"
#undef STRING
};
} // namespace

const std::span<const machine::StringResource> ModuleStrings = Strings;
