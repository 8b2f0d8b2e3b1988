#pragma once

#include "AudioOutputDevice.h"

#include <vector>

// The device whose clock the others follow: the steadiest kind of clock among `devices`, the
// first in the list among equals. `devices` must not be empty.
AudioOutputDevice chooseMaster(const std::vector<AudioOutputDevice>& devices);
