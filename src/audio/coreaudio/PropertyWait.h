#pragma once

#include "CoreAudioApi.h"

#include <chrono>
#include <functional>
#include <utility>
#include <vector>

namespace coreaudio {

// A property whose listener wakes a wait.
using WatchedProperty = std::pair<ObjectID, PropertyAddress>;

// AudioHardware.h on AudioObjectSetPropertyData: "the value of the property should not be
// considered changed until the HAL has called the listeners". Waits until `done` holds, checking
// it again whenever one of `watched` announces a change, for at most `limit`. The listeners are
// called on the main queue, so the wait runs the event loop, without user input; true when
// `done` held in time.
bool waitUntil(CoreAudioApi& api, const std::vector<WatchedProperty>& watched,
               const std::function<bool()>& done, std::chrono::milliseconds limit);

} // namespace coreaudio
