// A server that does not answer any more.

#include "tests/inspection/shared/SharedFixture.h"

#include <QElapsedTimer>

namespace {

/// Notes when the status line was painted with a notice that the program waits.
class NoticeWatch : public QObject {
public:
    explicit NoticeWatch(QWidget& line) : m_line(line) {
        m_line.installEventFilter(this);
        m_time.start();
    }
    /// None where it never was.
    qint64 firstMilliseconds() const { return m_first; }

protected:
    bool eventFilter(QObject* /*object*/, QEvent* event) override {
        const auto* text = m_line.findChild<QLabel*>();
        if (event->type() == QEvent::Paint && m_first < 0 && text->text() == "正在等待数据库回答…") {
            m_first = m_time.elapsed();
        }
        return false;
    }

private:
    QWidget& m_line;
    QElapsedTimer m_time;
    qint64 m_first = -1;
};

/// Lets the server go on, however the test ends.
class Thawing {
public:
    explicit Thawing(const MariaDbServer& server) : m_server(server) {}
    ~Thawing() { m_server.thaw(); }
    Thawing(const Thawing&) = delete;
    Thawing& operator=(const Thawing&) = delete;

private:
    const MariaDbServer& m_server;
};

using HungServerTest = SharedProjectTest;

TEST_F(HungServerTest, IsWaitedForWithANoticeGivenUpAndFoundAgain) {
    constexpr qint64 kMostMilliseconds = 15000; // of a busy machine; seven seconds else
    constexpr char kLost[] = "与数据库的连接已断开，未作任何更改";
    const Thawing thawing(m_server);
    m_server.freeze();
    {
        const MessageWatch messages;
        const NoticeWatch notices(*context().progressWidget());
        QElapsedTimer time;
        time.start();
        judge(0, Qt::Key_3);
        EXPECT_LT(time.elapsed(), kMostMilliseconds);
        EXPECT_GE(notices.firstMilliseconds(), 1000);
        EXPECT_LT(notices.firstMilliseconds(), 3000);
        EXPECT_EQ(messages.texts(), QStringList{kLost});
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    }
    ASSERT_TRUE(waitUntil([&] { return status().contains("连接已断开"); })) << status().toStdString();
    {
        const MessageWatch messages;
        QElapsedTimer time;
        time.start();
        judge(0, Qt::Key_3);
        EXPECT_LT(time.elapsed(), kMostMilliseconds / 2) << "it is known to be lost";
        EXPECT_EQ(messages.texts(), QStringList{kLost});
    }
    m_server.thaw();
    ASSERT_TRUE(waitUntil([&] { return status().contains("连接已恢复"); }));
    EXPECT_EQ(attribute(0), "");
    EXPECT_EQ(m_colleague->database().queryRecord("select id from anomaly where attribute<>''").size(), 0U);
    const MessageWatch messages;
    judge(0, Qt::Key_3);
    EXPECT_EQ(attribute(0), "深挖");
    EXPECT_TRUE(messages.texts().isEmpty()) << messages.texts().join('\n').toStdString();
}

} // namespace
