#pragma once

#include "ControlRequest.h"

#include <QStringList>

#include <optional>

// What Brivello's command line asks for: a request for the running Brivello (a plain start is
// `raise`), or an answer given at once (help, version, a usage error), printed before anything
// else starts.
struct CommandLine {
    ControlRequest request;
    // Start without showing the window (a tray icon and hot keys only).
    bool background = false;
    std::optional<ControlReply> answer;
};

// `arguments` as in QCoreApplication::arguments(), the program first.
CommandLine parseCommandLine(const QStringList& arguments, const QString& version);
