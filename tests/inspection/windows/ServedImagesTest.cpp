// Pictures of anomalies whose epochs lie with a web server.

#include "tests/inspection/windows/ImageWindowFixture.h"
#include "tests/support/PictureDifference.h"
#include "tests/support/ServedProject.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

class ServedImagesTest : public ImageWindowTest {
protected:
    /// Opens the open project again, from a server.
    void serve() {
        context().closeProject();
        m_server.emplace(m_project);
        takeEpochsFrom(*m_server, m_project);
        const auto problem = context().openProject(m_project);
        ASSERT_FALSE(problem.has_value()) << problem->toStdString();
        clickCheckBox(station(0)->parent());
        m_item = checkedStationWithMostAnomalies();
        ASSERT_NE(m_item, nullptr);
        ASSERT_GE(m_item->m_diffData.m_anomalies.size(), 2U);
    }

    std::optional<WebServer> m_server;
};

// Nothing here ends a read but the server: had the window waited for it, the test would never get on.
TEST_F(ServedImagesTest, ASilentServerHoldsNothingUp) {
    openRichest();
    serve();
    m_server->fallSilent();
    images().CreatZoomItem(m_item, anomaly());
    EXPECT_TRUE(images().isReading());
    images().CreatZoomItem(m_item, m_item->m_diffData.m_anomalies.at(1));
    EXPECT_TRUE(images().isReading());
    const int ofTheOutline = colours(pane("oldPane"));
    m_server->goOn();
    ASSERT_TRUE(shown());
    EXPECT_GT(colours(pane("oldPane")), 2 * ofTheOutline);
    EXPECT_GT(colours(pane("newPane")), 2 * ofTheOutline);
}

TEST_F(ServedImagesTest, ThePicturesAreThoseOfTheFolder) {
    openRichest();
    images().CreatZoomItem(m_item, anomaly());
    ASSERT_TRUE(shown());
    const QImage ofTheFolder = pictureOf(pane("newPane"));
    serve();
    images().CreatZoomItem(m_item, anomaly());
    ASSERT_TRUE(shown());
    EXPECT_LT(meanDifference(pictureOf(pane("newPane")), ofTheFolder), 3.0) << "of 255";
}

} // namespace
