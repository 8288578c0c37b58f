// What the globe and GDAL say while an object of this class lives.
#pragma once
#include <cpl_error.h>
#include <osg/Notify>
#include <osg/ref_ptr>

#include <mutex>
#include <string>
#include <vector>

namespace globetest {

/// Collects the lines instead of printing them. Thread safe; one object at a time.
class LogLines {
public:
    LogLines() : m_previous(osg::getNotifyHandler()), m_handler(new Handler()) {
        osg::setNotifyHandler(m_handler);
        active() = m_handler.get();
        CPLSetErrorHandler(&LogLines::fromGdal);
    }
    ~LogLines() {
        CPLSetErrorHandler(CPLDefaultErrorHandler);
        active() = nullptr;
        osg::setNotifyHandler(m_previous);
    }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    std::vector<std::string> lines() const { return m_handler->lines(); }

private:
    class Handler : public osg::NotifyHandler {
    public:
        void notify(osg::NotifySeverity severity, const char* message) override {
            if (severity <= osg::WARN) {
                add(message);
            }
        }
        void add(const std::string& line) {
            const std::lock_guard lock(m_mutex);
            m_lines.push_back(line);
        }
        std::vector<std::string> lines() {
            const std::lock_guard lock(m_mutex);
            return m_lines;
        }

    private:
        std::mutex m_mutex;
        std::vector<std::string> m_lines;
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

    osg::ref_ptr<osg::NotifyHandler> m_previous;
    osg::ref_ptr<Handler> m_handler;
};

} // namespace globetest
