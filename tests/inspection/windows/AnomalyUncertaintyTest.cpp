// The uncertainty of anomalies in the table and its filter.

#include "tests/inspection/windows/WindowFixture.h"
#include "tests/support/MenuEntry.h"

#include "host/inspection/AVWindow.h"
#include "workbench/inspection/table/AnomalyColumns.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QApplication>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QLabel>
#include <QSettings>
#include <QTest>

namespace {

using inspection::AnomalyColumn;

class AnomalyUncertaintyTest : public InspectionWindowTest {
protected:
    // The user's own choice of columns is none of the tests'.
    AnomalyUncertaintyTest() {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_settings.path());
    }

    void SetUp() override {
        InspectionWindowTest::SetUp();
        openComputed();
        m_item = checkedStationWithMostAnomalies();
        ASSERT_GE(m_item->m_diffData.m_anomalies.size(), 2U);
        showAnomalies(m_item->m_diffData.m_anomalies);
    }
    void showAnomalies(const std::vector<SdiffData>& anomalies) {
        KV_StationItem item = *m_item;
        item.m_diffData.m_anomalies = anomalies;
        context().GetAVWindow()->Refresh();
        context().GetAVWindow()->SetCurrentItem(item);
        context().GetAVWindow()->AddData();
    }
    QHeaderView& header() const { return *table().horizontalHeader(); }
    /// Right-clicks the head of the table and clicks the entry of that title.
    bool clickColumnEntry(const QString& title) {
        bool isClicked = false;
        QTimer::singleShot(50, &table(), [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!menu) {
                return;
            }
            for (QAction* action : menu->actions()) {
                if (action->text() == title) {
                    isClicked = true;
                    clickEntry(*menu, *action);
                    return;
                }
            }
            menu->close();
        });
        const QPoint at(30, header().height() / 2);
        QContextMenuEvent press(QContextMenuEvent::Mouse, at, header().viewport()->mapToGlobal(at));
        QApplication::sendEvent(header().viewport(), &press);
        return isClicked;
    }
    QCheckBox& filter() const { return *m_window->findChild<QCheckBox*>("significanceFilter"); }
    void clickFilter() const { QTest::mouseClick(&filter(), Qt::LeftButton, {}, {8, filter().height() / 2}); }
    QStringList shownNames() const {
        QStringList names;
        for (int row = 0; row < table().model()->rowCount(); ++row) {
            names << table().model()->index(row, AnomalyColumn::Name).data().toString();
        }
        return names;
    }

    QTemporaryDir m_settings;
    KV_StationItem* m_item = nullptr;
};

TEST_F(AnomalyUncertaintyTest, ItsColumnsAreHiddenUntilTheHeadsMenuShowsThemAndStayShown) {
    for (int column = 0; column < AnomalyColumn::Count; ++column) {
        const bool isUncertainty =
            column >= AnomalyColumn::VolumeSigma && column <= AnomalyColumn::SuggestionConfidence;
        EXPECT_EQ(table().isColumnHidden(column), isUncertainty || column == AnomalyColumn::Station)
            << column;
    }
    ASSERT_TRUE(clickColumnEntry("显著性"));
    EXPECT_FALSE(table().isColumnHidden(AnomalyColumn::Significance));
    EXPECT_GT(table().columnWidth(AnomalyColumn::Significance), 20);
    ASSERT_TRUE(clickColumnEntry("位置"));
    EXPECT_TRUE(table().isColumnHidden(AnomalyColumn::Position));
    EXPECT_FALSE(clickColumnEntry("名称")) << "what a row is about cannot be hidden";
    const SdiffData& first = m_item->m_diffData.m_anomalies.front();
    EXPECT_EQ(table().model()->index(0, AnomalyColumn::Significance).data().toString(),
              inspection::figureText(*first.significance));
    keepPicture(*context().GetAVWindow(), "uncertainty-columns");

    context().shutdown();
    m_window.reset();
    InspectionWindowTest::SetUp();
    EXPECT_FALSE(table().isColumnHidden(AnomalyColumn::Significance)) << "remembered";
    EXPECT_TRUE(table().isColumnHidden(AnomalyColumn::Position));
    EXPECT_TRUE(table().isColumnHidden(AnomalyColumn::Sigma));
}

TEST_F(AnomalyUncertaintyTest, TheFilterKeepsWhatExceedsItsUncertainty) {
    std::vector<SdiffData> three(3, m_item->m_diffData.m_anomalies.front());
    const double volume = three[0].volumeCubicMetres();
    for (std::size_t i = 0; i < three.size(); ++i) {
        three[i].name = "S1-100" + std::to_string(i);
    }
    three[0].volumeSigmaCubicMetres = volume / 1.95;
    three[1].volumeSigmaCubicMetres = volume / 1.97;
    three[2].volumeSigmaCubicMetres.reset();
    showAnomalies(three);
    EXPECT_EQ(shownNames(), QStringList({"S1-1000", "S1-1001", "S1-1002"}));
    clickFilter();
    EXPECT_EQ(shownNames(), QStringList{"S1-1001"});
    EXPECT_TRUE(m_window->findChild<QLabel*>("anomalySummary")->text().contains("显示 1"));
    clickFilter();
    EXPECT_EQ(shownNames().size(), 3);
}

TEST_F(AnomalyUncertaintyTest, WhatIsNotKnownIsBehindInBothOrders) {
    std::vector<SdiffData> three(3, m_item->m_diffData.m_anomalies.front());
    for (std::size_t i = 0; i < three.size(); ++i) {
        three[i].name = "S1-100" + std::to_string(i);
        three[i].significance = 3.0 - static_cast<double>(i);
    }
    three[1].significance.reset();
    showAnomalies(three);
    table().sortByColumn(AnomalyColumn::Significance, Qt::AscendingOrder);
    EXPECT_EQ(shownNames(), QStringList({"S1-1002", "S1-1000", "S1-1001"}));
    table().sortByColumn(AnomalyColumn::Significance, Qt::DescendingOrder);
    EXPECT_EQ(shownNames(), QStringList({"S1-1000", "S1-1002", "S1-1001"}));
}

} // namespace
