#pragma once

#include "AggregateDescription.h"

#include <ostream>
#include <string>

// Readable aggregate descriptions in test failures.
namespace coreaudio {

std::string describe(const DescriptionValue& value);
void PrintTo(const DescriptionValue& value, std::ostream* out);
void PrintTo(const DescriptionEntry& entry, std::ostream* out);

} // namespace coreaudio
