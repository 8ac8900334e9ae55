#pragma once

#include "model/BezierPath.h"
#include "model/Stroke.h"

#include <QtGlobal>

#include <memory>
#include <string>
#include <vector>

inline std::shared_ptr<Stroke> rectStroke(const Rect& r, const Color& c = Color::black(),
                                          int mode = 0, float opacity = 1, bool oval = false) {
    auto path = std::make_shared<BezierPath>(oval ? BezierPath::bezierPathWithOvalInRect(r)
                                                  : BezierPath::bezierPathWithRect(r));
    return Stroke::initWithBezierPath(path, c, mode, opacity);
}

// Collects the warning lines logged while it lives.
class LogCapture {
public:
    LogCapture() : _previous(qInstallMessageHandler(&LogCapture::handler)) { lines().clear(); }
    ~LogCapture() { qInstallMessageHandler(_previous); }
    static std::vector<std::string>& lines() {
        static std::vector<std::string> captured;
        return captured;
    }

private:
    static void handler(QtMsgType, const QMessageLogContext&, const QString& message) {
        lines().push_back(message.toStdString());
    }
    QtMessageHandler _previous;
};
