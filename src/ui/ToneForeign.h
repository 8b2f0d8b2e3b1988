#pragma once

#include "ToneGenerator.h"

#include <QObject>
#include <QtQml/qqml.h>

// The window's test tone lives in the tone library; the views know its type by this name.
struct ToneGeneratorForeign {
    Q_GADGET
    QML_FOREIGN(ToneGenerator)
    QML_NAMED_ELEMENT(ToneGenerator)
    QML_UNCREATABLE("made in C++ over the platform's output")
};
