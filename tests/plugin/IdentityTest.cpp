#include "tests/plugin/PluginHost.h"

#include "host/Gbk.h"
#include "host/engine/ICommand.h"

#include <QImage>
#include <QMetaMethod>

#include <algorithm>
#include <map>

namespace {

struct Identity {
    const char* className;
    const char* key;
    const char* registeredName;
    const char* name;
    const char* toolTip;
    const char* icon;
    Qt::CursorShape cursor;
    bool isTool;
};

// In the order of construction; texts in GBK bytes.
const std::vector<Identity> kTools = {
    // 计算异常, 计算异常, 计算当前显示区域的异常信息
    {"CcomputDiff", "303 comput diff ", "\274\306\313\343\322\354\263\243",
     "\274\306\313\343\322\354\263\243",
     "\274\306\313\343\265\261\307\260\317\324\312\276\307\370\323\362\265\304\322\354\263\243\320\305\317"
     "\242",
     "calculate.png", Qt::ArrowCursor, false},
    // 查看\编辑异常, 查看\编辑异常, 查看\编辑当前显示区域的异常信息
    {"CeditDiff", "307 edit diff ", "\262\351\277\264\\\261\340\274\255\322\354\263\243",
     "\262\351\277\264\\\261\340\274\255\322\354\263\243",
     "\262\351\277\264\\\261\340\274\255\265\261\307\260\317\324\312\276\307\370\323\362\265\304\322\354\263"
     "\243\320\305\317\242",
     "lookup.png", Qt::PointingHandCursor, true},
    // 编辑特殊区域, 编辑特殊区域, 编辑特殊面、特殊点
    {"CeditPolygon", "309 edit polygon", "\261\340\274\255\314\330\312\342\307\370\323\362",
     "\261\340\274\255\314\330\312\342\307\370\323\362",
     "\261\340\274\255\314\330\312\342\303\346\241\242\314\330\312\342\265\343", "editpolgon.png",
     Qt::ArrowCursor, true},
    // 添加特殊点, 添加特殊点, 添加特殊点
    {"Cdrawpoint", "3082 draw point ", "\314\355\274\323\314\330\312\342\265\343",
     "\314\355\274\323\314\330\312\342\265\343", "\314\355\274\323\314\330\312\342\265\343", "spt.png",
     Qt::PointingHandCursor, true},
    // 输出报告, 输出报告, 输出巡检报告
    {"Coutputreport", "311 output report", "\312\344\263\366\261\250\270\346",
     "\312\344\263\366\261\250\270\346", "\312\344\263\366\321\262\274\354\261\250\270\346", "report.png",
     Qt::ArrowCursor, false},
    // 输出shape, 输出shape, 输出shape
    {"Coutputshp", "312 output shape", "\312\344\263\366shape", "\312\344\263\366shape",
     "\312\344\263\366shape", "report.png", Qt::ArrowCursor, false},
    // 参数设置, 参数设置, 参数设置
    {"CSetPara", "315 set para", "\262\316\312\375\311\350\326\303", "\262\316\312\375\311\350\326\303",
     "\262\316\312\375\311\350\326\303", "param.png", Qt::ArrowCursor, false},
    // 参数视图, 正北视图, 将视图设置为正北方向
    {"CsetViewPoint", "316 set viewpoint ", "\262\316\312\375\312\323\315\274",
     "\325\375\261\261\312\323\315\274",
     "\275\253\312\323\315\274\311\350\326\303\316\252\325\375\261\261\267\275\317\362", "north.png",
     Qt::ArrowCursor, false},
    // 撤销, 撤销, 撤销
    {"CUndo", "318 undo command", "\263\267\317\372", "\263\267\317\372", "\263\267\317\372", "can.png",
     Qt::ArrowCursor, false},
    // 重做, 重做, 重做
    {"CRedo", "319 redo command", "\326\330\327\366", "\326\330\327\366", "\326\330\327\366", "rework.png",
     Qt::ArrowCursor, false},
    // 添加特殊面, 添加特殊面, 添加特殊面
    {"Cdrawspeicalarea", "3081 draw special area", "\314\355\274\323\314\330\312\342\303\346",
     "\314\355\274\323\314\330\312\342\303\346", "\314\355\274\323\314\330\312\342\303\346", "addarea.png",
     Qt::PointingHandCursor, true},
};

const std::map<std::string, QList<QByteArray>> kMethods = {
    {"CeditDiff",
     {"signal_eidtDff()", "signal_deleteDff()", "signal_checkDff()", "eidtDff()", "OnDeleteItem()",
      "OnDeleteDff()", "OnSetbuild()", "OnSetoccupy()", "OnSump()", "OnCollapse()", "OnSetweightthing()",
      "OnSetother()", "checkDff()"}},
    {"CeditPolygon",
     {"signal_eidtPolygon()", "eidtPolygon()", "SLOTDeletFeature_All()", "SLOTEditPolygon()", "SlotClose()",
      "SlotOK()", "SlotPointClose()", "SlotPointOK()"}},
    {"Cdrawpoint",
     {"msg_waring(QString)", "signal_eidtpt()", "SlotClose()", "SlotOK()", "eidtPt()", "OnWaring(QString)"}},
    {"Cdrawspeicalarea", {"msg_waring(QString)", "OnWaring(QString)", "SlotClose()", "SlotOK()"}},
    {"CUndo", {"OnSetCom(QString)", "OnUndoto(QAction*)", "OnLighted(QAction*)"}},
    {"CRedo", {"OnSetCom(QString)"}},
};

QImage imageOf(const QIcon& icon) {
    return icon.pixmap(64, 64).toImage();
}

QImage imageOf(const char* file) {
    return imageOf(QIcon(QStringLiteral(":/ToolPluginorva/images/") + QLatin1String(file)));
}

class Identities : public PluginTest {
protected:
    bool hasKey(const std::string& key) const {
        return std::any_of(m_commands.begin(), m_commands.end(),
                           [&key](zeo::ICommand* command) { return command->Key() == key; });
    }

    const std::vector<zeo::ICommand*>& m_commands = m_engine.commands();
};

TEST_F(Identities, TheLibraryLoadsByItsFileNameAndHasCreate) {
    EXPECT_TRUE(m_host.library.isLoaded()) << m_host.library.errorString().toStdString();
    EXPECT_TRUE(m_host.hasCreate);
}

TEST_F(Identities, CreateMakesElevenCommandsOfTheirClassesInOrder) {
    ASSERT_EQ(m_commands.size(), kTools.size());
    for (std::size_t index = 0; index < kTools.size(); ++index) {
        EXPECT_STREQ(m_commands[index]->metaObject()->className(), kTools[index].className);
    }
}

TEST_F(Identities, ExactlyElevenHandlersAreRegisteredUnderTheirNamesInOrder) {
    std::vector<std::string> names;
    for (const Identity& tool : kTools) {
        names.emplace_back(tool.registeredName);
    }
    EXPECT_EQ(m_handlers.names(), names);
}

TEST_F(Identities, EachToolIsRegisteredBeforeTheNextIsBuilt) {
    std::vector<std::size_t> expected;
    for (std::size_t index = 0; index < kTools.size(); ++index) {
        expected.push_back(index);
    }
    EXPECT_EQ(m_host.handlersBeforeEachCommand, expected);
}

TEST_F(Identities, TheRegisteredHandlerIsTheSameObjectAsTheCommand) {
    for (std::size_t index = 0; index < kTools.size(); ++index) {
        EXPECT_EQ(dynamic_cast<CXCommandHandler*>(m_commands[index]),
                  m_handlers.find(kTools[index].registeredName))
            << kTools[index].className;
    }
}

TEST_F(Identities, TextsAreGbkBytes) {
    for (std::size_t index = 0; index < kTools.size(); ++index) {
        EXPECT_EQ(m_commands[index]->Name(), kTools[index].name) << kTools[index].className;
        EXPECT_EQ(m_commands[index]->ToolTip(), kTools[index].toolTip) << kTools[index].className;
        EXPECT_EQ(m_commands[index]->CommandType(), "\321\262\274\354\271\244\276\337")
            << kTools[index].className;
    }
}

TEST_F(Identities, KeysKeepTheirTrailingBlanks) {
    for (std::size_t index = 0; index < kTools.size(); ++index) {
        EXPECT_EQ(m_commands[index]->Key(), kTools[index].key);
    }
    for (const char* withoutBlank :
         {"303 comput diff", "307 edit diff", "3082 draw point", "316 set viewpoint"}) {
        EXPECT_FALSE(hasKey(withoutBlank)) << withoutBlank;
        EXPECT_TRUE(hasKey(std::string(withoutBlank) + ' ')) << withoutBlank;
    }
}

TEST_F(Identities, TheNorthUpHandlerIsNotRegisteredUnderItsToolsName) {
    EXPECT_EQ(m_handlers.find(toGbk("正北视图")), nullptr);
    EXPECT_EQ(m_handlers.find(toGbk("参数视图")),
              dynamic_cast<CXCommandHandler*>(&m_host.command("正北视图")));
}

TEST_F(Identities, OnlyTheFourInteractiveToolsAreTools) {
    for (std::size_t index = 0; index < kTools.size(); ++index) {
        EXPECT_EQ(m_commands[index]->IsTool(), kTools[index].isTool) << kTools[index].className;
        EXPECT_EQ(dynamic_cast<zeo::ITool*>(m_commands[index]) != nullptr, kTools[index].isTool);
    }
}

TEST_F(Identities, CursorsHaveTheirShapes) {
    for (std::size_t index = 0; index < kTools.size(); ++index) {
        EXPECT_EQ(m_commands[index]->GetCursor().shape(), kTools[index].cursor) << kTools[index].className;
    }
}

TEST_F(Identities, IconsComeFromThePluginsOwnResources) {
    for (std::size_t index = 0; index < kTools.size(); ++index) {
        const QImage expected = imageOf(kTools[index].icon);
        ASSERT_FALSE(expected.isNull()) << kTools[index].icon;
        EXPECT_EQ(imageOf(m_commands[index]->GetIcon()), expected) << kTools[index].className;
    }
}

TEST_F(Identities, ReportAndShapeShareOneIconAndNoOthersDo) {
    for (std::size_t first = 0; first < kTools.size(); ++first) {
        for (std::size_t second = 0; second < first; ++second) {
            const bool mayShare = std::string(kTools[first].className) == "Coutputshp" &&
                                  std::string(kTools[second].className) == "Coutputreport";
            EXPECT_EQ(imageOf(m_commands[first]->GetIcon()) == imageOf(m_commands[second]->GetIcon()),
                      mayShare)
                << kTools[first].className << " and " << kTools[second].className;
        }
    }
}

TEST_F(Identities, SignalsAndSlotsStandInOneOrder) {
    for (zeo::ICommand* command : m_commands) {
        const QMetaObject* meta = command->metaObject();
        QList<QByteArray> methods;
        for (int index = meta->methodOffset(); index < meta->methodCount(); ++index) {
            methods << meta->method(index).methodSignature();
        }
        const auto expected = kMethods.find(meta->className());
        EXPECT_EQ(methods, expected == kMethods.end() ? QList<QByteArray>() : expected->second)
            << meta->className();
    }
}

TEST_F(Identities, TheMetaObjectCastReachesTheHandlerPart) {
    for (zeo::ICommand* command : m_commands) {
        EXPECT_EQ(command->qt_metacast(command->metaObject()->className()), command);
        EXPECT_EQ(command->qt_metacast("CXCommandHandler"), dynamic_cast<CXCommandHandler*>(command));
    }
}

} // namespace
