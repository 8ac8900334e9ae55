#pragma once

#include "model/BezierPath.h"
#include "model/MenuState.h"
#include "model/Stroke.h"

#include <QtGlobal>

#include <memory>
#include <string>
#include <vector>

// Helpers shared by the stroke list and undo tests.

inline std::shared_ptr<Stroke> rectStroke(const Rect& r, const Color& c = Color::black(),
                                          int mode = 0, float opacity = 1) {
    return Stroke::initWithBezierPath(
        std::make_shared<BezierPath>(BezierPath::bezierPathWithRect(r)), c, mode, opacity);
}

inline std::shared_ptr<Stroke> ovalStroke(const Rect& r, const Color& c, int mode = 0,
                                          float opacity = 1) {
    return Stroke::initWithBezierPath(
        std::make_shared<BezierPath>(BezierPath::bezierPathWithOvalInRect(r)), c, mode, opacity);
}

// Records what the stroke list tells the menus while installed.
class RecordingMenuState : public MenuState {
public:
    RecordingMenuState() { MenuState::setShared(this); }
    ~RecordingMenuState() override { MenuState::setShared(nullptr); }
    void setCanVectorDraw(bool flag) override { calls.push_back(flag); }
    std::vector<bool> calls;
};

// Collects warning lines while installed.
class LogCapture {
public:
    LogCapture() {
        lines().clear();
        _previous = qInstallMessageHandler(&LogCapture::handler);
    }
    ~LogCapture() { qInstallMessageHandler(_previous); }
    static std::vector<std::string>& lines() {
        static std::vector<std::string> captured;
        return captured;
    }

private:
    static void handler(QtMsgType, const QMessageLogContext&, const QString& message) {
        lines().push_back(message.toStdString());
    }
    QtMessageHandler _previous = nullptr;
};
