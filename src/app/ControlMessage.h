#pragma once

#include "ControlRequest.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// The control channel's wire form: one JSON object per message, on one line ending in '\n'.
// Everything received is untrusted: the parsers are strict (exactly the known members, of the
// right types, valid UTF-8, within the size limits) and say nothing about why they refused.

// A request is a few hundred bytes at most; anything longer is not from a Brivello.
inline constexpr std::size_t kMaxRequestBytes = 4096;
// A reply lists zones or devices; a megabyte holds thousands of them.
inline constexpr std::size_t kMaxReplyBytes = 1 << 20;
inline constexpr std::size_t kMaxZoneNameBytes = 1024;

std::string encodeControlRequest(const ControlRequest& request);
std::optional<ControlRequest> parseControlRequest(std::string_view line);

std::string encodeControlReply(const ControlReply& reply);
std::optional<ControlReply> parseControlReply(std::string_view line);
