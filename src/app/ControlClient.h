#pragma once

#include "ControlRequest.h"

#include <QString>

#include <optional>

// A later start's end of the control channel: hands `request` to the running Brivello listening
// at `socketPath` and waits for its answer. Blocking, without an event loop. The running one may
// still be starting: connecting is retried for up to `connectWaitMs`. Nothing when no Brivello
// accepted, or none answered in time (it may be stopped), or the answer was malformed.
std::optional<ControlReply> sendControlRequest(const QString& socketPath,
                                               const ControlRequest& request, int connectWaitMs);

// Switching a zone waits for the sound system, at most a second or two even when it stalls.
inline constexpr int kControlReplyWaitMs = 15000;
