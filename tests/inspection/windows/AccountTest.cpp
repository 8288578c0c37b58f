// What detection did to the compared pair: the line in the status bar and the window behind it.

#include "tests/inspection/windows/WindowFixture.h"

#include "host/inspection/StationWindow.h"
#include "workbench/inspection/account/AccountLine.h"
#include "workbench/inspection/account/HistogramChart.h"
#include "workbench/inspectiondata/database/DetectionAccount.h"
#include "workbench/inspectiondata/text/CoregistrationText.h"

#include <QDialog>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QPushButton>
#include <QTest>

namespace {

class AccountTest : public InspectionWindowTest {
protected:
    inspection::AccountLine& line() const {
        return *m_window->findChild<inspection::AccountLine*>("accountLine");
    }
    QDialog* dialog() const { return m_window->findChild<QDialog*>("accountDialog"); }
    QString told(const char* label) const {
        const auto* found = dialog()->findChild<QLabel*>(label);
        return found ? found->text() : QString();
    }
    void clickLine() {
        QTest::mouseClick(&line(), Qt::LeftButton);
        ASSERT_TRUE(waitUntil([this] { return dialog() && dialog()->isVisible(); }));
    }
    void closeDialog() {
        QTest::mouseClick(dialog()->findChild<QPushButton*>("close"), Qt::LeftButton);
        ASSERT_TRUE(waitUntil([this] { return !dialog(); }));
    }
    /// Opens a sample with these parameters of detection.
    void openSampleWith(const QJsonObject& parameters) {
        m_project = copySample(m_folder);
        QFile file(m_project + "/project.json");
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        QJsonObject json = QJsonDocument::fromJson(file.readAll()).object();
        json["parameters"] = parameters;
        file.resize(0);
        file.write(QJsonDocument(json).toJson());
        file.close();
        ASSERT_FALSE(context().openProject(m_project).has_value());
    }
    inspection::DetectionAccount stored() const {
        const auto& project = InspectionContext::instance().project()->description();
        mysqlhelper::KV_MySQL database(project.databaseFile().toStdString());
        return inspection::readDetectionAccount(project, database).value();
    }
};

TEST_F(AccountTest, AfterAComputationTheLineTellsAndAClickTellsMore) {
    openSample();
    EXPECT_FALSE(line().isVisible());
    computeStations(2);
    ASSERT_TRUE(line().isVisible());
    const inspection::DetectionAccount account = stored();
    EXPECT_EQ(line().text(), inspection::coregistrationLine(account.coregistration));
    keepPicture(*m_window, "account-line");

    clickLine();
    EXPECT_TRUE(told("accountMethod").startsWith(inspection::methodTitle(account.coregistration.method)));
    EXPECT_EQ(told("accountShift"), inspection::shiftText(account.coregistration));
    EXPECT_TRUE(told("accountScatter").startsWith(inspection::scatterText(account.coregistration)));
    EXPECT_TRUE(told("accountTime").endsWith("2 个站段"));
    for (const auto& count : inspection::rejectionCounts(account.rejections)) {
        EXPECT_TRUE(told("accountRejections").contains(QString("%1 %2").arg(count.rule).arg(count.rejected)));
    }
    EXPECT_TRUE(told("accountDoubt").isEmpty());
    auto* chart = dialog()->findChild<inspection::HistogramChart*>();
    ASSERT_TRUE(chart);
    EXPECT_GE(chart->height(), 100);
    keepPicture(*dialog(), "account-dialog");
    closeDialog();
}

TEST_F(AccountTest, ItIsThereAgainWhenTheProjectIsOpenedAgain) {
    openSample();
    computeStations(1);
    const QString before = line().text();
    context().closeProject();
    EXPECT_FALSE(line().isVisible());
    ASSERT_FALSE(context().openProject(m_project).has_value());
    ASSERT_TRUE(line().isVisible());
    EXPECT_EQ(line().text(), before);
    context().showAccount(); // as the menu does
    ASSERT_TRUE(dialog());
    closeDialog();
}

TEST_F(AccountTest, WithoutAnAccountOneMessageSaysSo) {
    openSample();
    MessageWatch messages;
    context().showAccount();
    EXPECT_EQ(messages.texts().size(), 1);
    EXPECT_FALSE(dialog());
}

TEST_F(AccountTest, TheLocalFieldIsShown) {
    openSampleWith({{"coregistration", "local"}});
    computeStations(1);
    ASSERT_EQ(stored().coregistration.method, detect::CoregistrationMethod::Local);
    clickLine();
    const auto* picture = dialog()->findChild<QLabel*>("accountCorrection");
    ASSERT_TRUE(picture);
    EXPECT_GT(picture->pixmap().width(), 50);
    EXPECT_TRUE(told("accountCorrectionTitle").contains("局部改正场"));
    keepPicture(*dialog(), "account-dialog-local");
}

TEST_F(AccountTest, WhatCannotBeTrustedIsSaidFirst) {
    openSampleWith({{"threshold_m", 0.01}, {"min_area_m2", 1000.0}, {"coregistration", "none"}});
    computeStations(1);
    EXPECT_TRUE(line().text().startsWith("结果不可信")) << line().text().toStdString();
    clickLine();
    EXPECT_TRUE(told("accountDoubt").contains("大于变化阈值 0.01 m"));
    keepPicture(*dialog(), "account-dialog-doubt");
}

} // namespace
