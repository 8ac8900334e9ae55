#include "app/DialogScriptAlerts.h"

#include <QApplication>
#include <QMessageBox>
#include <QtDebug>

void DialogScriptAlerts::scriptError(const std::string& title, const std::string& message) {
    QMessageBox box(QMessageBox::Warning, QString::fromStdString(title),
                    QString::fromStdString(message), QMessageBox::Ok, QApplication::activeWindow());
    box.exec();
}

void DialogScriptAlerts::scriptLog(const std::string& line) {
    qWarning().noquote() << QString::fromStdString(line);
}
