#include "host/style/BaseDialog.h"
#include "host/style/BaseWindow.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>
#include <gtest/gtest.h>

namespace {

/// A form as a designer file makes it, inside one of the product's windows.
template<class Base>
class Form : public Base {
public:
    Form() : Base(nullptr) {
        this->resize(220, 100);
        auto* grid = new QGridLayout(this);
        grid->setObjectName("form");
        m_edit = new QLineEdit(this);
        m_confirm = new QPushButton(QStringLiteral("确定"), this);
        m_confirm->setDefault(true);
        grid->addWidget(m_edit, 0, 0);
        grid->addWidget(m_confirm, 1, 0);
        this->m_titleBar->setTitleContent(QStringLiteral("添加特殊点"), 10);
        this->m_titleBar->setButtonType(titleBar::OnlyClose);
        this->updateLayout();
    }

    titleBar& bar() { return *this->m_titleBar; }

    QLineEdit* m_edit;
    QPushButton* m_confirm;
};

template<class Base>
class TitledWindow : public ::testing::Test {
protected:
    TitledWindow() {
        m_window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_window));
    }
    QWidget* button(const char* name) { return m_window.template findChild<QPushButton*>(name); }

    Form<Base> m_window;
};

using Bases = ::testing::Types<BaseDialog, BaseWindow>;
TYPED_TEST_SUITE(TitledWindow, Bases);

TYPED_TEST(TitledWindow, IsFramelessWithTheBarAboveTheForm) {
    auto& window = this->m_window;
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::FramelessWindowHint));
    const QPoint barBottom = window.bar().mapTo(&window, QPoint(0, window.bar().height()));
    const QPoint editTop = window.m_edit->mapTo(&window, QPoint(0, 0));
    EXPECT_GE(editTop.y(), barBottom.y());
    EXPECT_GE(window.bar().width(), window.width() - 4);
    EXPECT_EQ(window.bar().titleContent(), QStringLiteral("添加特殊点"));
}

TYPED_TEST(TitledWindow, KeepsTheFormsLayoutAndGrowsByTheBar) {
    auto& window = this->m_window;
    EXPECT_NE(window.template findChild<QGridLayout*>("form"), nullptr);
    EXPECT_GE(window.height(), 100 + window.bar().height() - 1);
}

TYPED_TEST(TitledWindow, ASecondUpdateOfTheLayoutChangesNothing) {
    const QSize before = this->m_window.size();
    this->m_window.updateLayout();
    EXPECT_EQ(this->m_window.size(), before);
}

TYPED_TEST(TitledWindow, ShowsTheButtonsThatItsTypeNames) {
    titleBar& bar = this->m_window.bar();
    const auto visible = [this] {
        return QList<bool>{this->button("titleBarMinimize")->isVisible(),
                           this->button("titleBarMaximize")->isVisible(),
                           this->button("titleBarClose")->isVisible()};
    };
    bar.setButtonType(titleBar::MinMaxClose);
    EXPECT_EQ(visible(), QList<bool>({true, true, true}));
    bar.setButtonType(titleBar::MinClose);
    EXPECT_EQ(visible(), QList<bool>({true, false, true}));
    bar.setButtonType(titleBar::OnlyClose);
    EXPECT_EQ(visible(), QList<bool>({false, false, true}));
    bar.setButtonType(77);
    EXPECT_EQ(visible(), QList<bool>({false, false, true}));
}

TYPED_TEST(TitledWindow, ClosesByItsButton) {
    QTest::mouseClick(this->button("titleBarClose"), Qt::LeftButton);
    EXPECT_FALSE(this->m_window.isVisible());
}

TYPED_TEST(TitledWindow, EscapeClosesAndEnterPressesTheDefaultButton) {
    QSignalSpy confirmed(this->m_window.m_confirm, &QPushButton::clicked);
    this->m_window.m_edit->setFocus();
    QTest::keyClick(this->m_window.m_edit, Qt::Key_Return);
    EXPECT_EQ(confirmed.size(), 1);
    QTest::keyClick(this->m_window.m_edit, Qt::Key_Escape);
    EXPECT_FALSE(this->m_window.isVisible());
}

TYPED_TEST(TitledWindow, FollowsADragOnItsTitle) {
    auto& window = this->m_window;
    window.move(100, 100);
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.pos() == QPoint(100, 100); }));
    const QPoint grip(40, window.bar().height() / 2);
    QTest::mousePress(&window.bar(), Qt::LeftButton, {}, grip);
    QMouseEvent move(QEvent::MouseMove, QPointF(grip + QPoint(30, 20)),
                     QPointF(window.bar().mapToGlobal(grip + QPoint(30, 20))), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QCoreApplication::sendEvent(&window.bar(), &move);
    QTest::mouseRelease(&window.bar(), Qt::LeftButton, {}, grip);
    EXPECT_EQ(window.pos(), QPoint(130, 120));
}

TYPED_TEST(TitledWindow, GrowsItsBarWithTheText) {
    titleBar& bar = this->m_window.bar();
    const int usualHeight = bar.height();
    bar.setTitleContent(QStringLiteral("添加特殊点"), 15);
    EXPECT_GT(bar.height(), usualHeight);
    const auto* text = this->m_window.template findChild<QLabel*>("titleBarText");
    EXPECT_LE(text->fontMetrics().height(), bar.height());
}

TYPED_TEST(TitledWindow, IsCalledInTheTaskBarAsInItsOwn) {
    this->m_window.setWindowTitle("DrawForm");
    this->m_window.bar().setTitleContent(QStringLiteral("添加特殊点"), 10);
    this->m_window.show();
    EXPECT_EQ(this->m_window.windowHandle()->title(), QStringLiteral("添加特殊点"));
    this->m_window.bar().setTitleContent(QStringLiteral("编辑特殊点"), 10);
    EXPECT_EQ(this->m_window.windowHandle()->title(), QStringLiteral("编辑特殊点"));
    EXPECT_EQ(this->m_window.windowTitle(), "DrawForm") << "by which the form is known";
}

TYPED_TEST(TitledWindow, IsAtLeastAsWideAsItsTitleAsks) {
    this->m_window.bar().setTitleWidth(480);
    EXPECT_TRUE(QTest::qWaitFor([&] { return this->m_window.width() >= 480; }));
}

/// A program's window that is active.
class OverAWindow : public ::testing::Test {
protected:
    OverAWindow() {
        m_main.setGeometry(200, 150, 800, 600);
        m_main.show();
        m_main.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&m_main));
    }
    QWidget m_main;
};

TEST_F(OverAWindow, AFormWithoutParentOpensOverItAndStaysInFront) {
    Form<BaseWindow> form;
    form.show();
    EXPECT_TRUE(m_main.geometry().contains(form.geometry()));
    EXPECT_EQ(form.windowHandle()->transientParent(), m_main.windowHandle());
    // Of windows of the usual kind the platform keeps the owner to itself: they go behind it at the first click there.
    EXPECT_EQ(form.windowHandle()->type(), Qt::Dialog);
}

TEST_F(OverAWindow, AFormThatTheUserHasMovedOpensThereAgain) {
    Form<BaseWindow> form;
    form.show();
    form.move(30, 40);
    form.hide();
    form.show();
    EXPECT_EQ(form.pos(), QPoint(30, 40));
}

TEST_F(OverAWindow, AFormIsWhollyOnTheScreenWhereverTheWindowIs) {
    const QRect screen = m_main.screen()->availableGeometry();
    m_main.setGeometry(screen.right() - 100, screen.bottom() - 60, 800, 600);
    Form<BaseWindow> form;
    form.show();
    EXPECT_TRUE(screen.contains(form.geometry()));
}

} // namespace
