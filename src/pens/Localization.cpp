#include "pens/Localization.h"

#include <QCoreApplication>
#include <QString>

std::string Localization::localizedString(const std::string& key, const char* table) {
    return QCoreApplication::translate(table, key.c_str()).toStdString();
}

bool Localization::hasTranslation(const std::string& key, const char* table) {
    return QCoreApplication::translate(table, key.c_str()) != QString::fromStdString(key);
}
