// What the globe and GDAL say while an object of this class lives.
#pragma once
#include <cpl_error.h>
#include <osg/Notify>

#include <mutex>
#include <string>
#include <vector>

namespace globetest {

/// Collects the lines instead of printing them. Thread safe; one object at a time.
class LogLines {
public:
    LogLines() : _previous(osg::getNotifyHandler()), _handler(new Handler()) {
        osg::setNotifyHandler(_handler);
        active() = _handler.get();
        CPLSetErrorHandler(&LogLines::fromGdal);
    }
    ~LogLines() {
        CPLSetErrorHandler(CPLDefaultErrorHandler);
        active() = nullptr;
        osg::setNotifyHandler(_previous);
    }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    std::vector<std::string> lines() const { return _handler->lines(); }

private:
    class Handler : public osg::NotifyHandler {
    public:
        void notify(osg::NotifySeverity severity, const char* message) override {
            if (severity <= osg::WARN) {
                add(message);
            }
        }
        void add(const std::string& line) {
            const std::lock_guard lock(_mutex);
            _lines.push_back(line);
        }
        std::vector<std::string> lines() {
            const std::lock_guard lock(_mutex);
            return _lines;
        }

    private:
        std::mutex _mutex;
        std::vector<std::string> _lines;
    };
    static Handler*& active() {
        static Handler* handler = nullptr;
        return handler;
    }
    static void CPL_STDCALL fromGdal(CPLErr level, CPLErrorNum, const char* text) {
        if (level >= CE_Warning) {
            active()->add(text);
        }
    }

    osg::ref_ptr<osg::NotifyHandler> _previous;
    osg::ref_ptr<Handler> _handler;
};

} // namespace globetest
