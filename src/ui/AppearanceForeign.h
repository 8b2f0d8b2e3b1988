#pragma once

#include "AppearanceSetting.h"

#include <QObject>
#include <QtQml/qqml.h>

// The appearance choice lives in the application layer; the views know its type by this name.
struct AppearanceSettingForeign {
    Q_GADGET
    QML_FOREIGN(AppearanceSetting)
    QML_NAMED_ELEMENT(AppearanceSetting)
    QML_UNCREATABLE("the application's one appearance setting")
};
