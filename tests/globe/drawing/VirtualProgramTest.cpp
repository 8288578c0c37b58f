#include "Pictures.h"

#include <gtest/gtest.h>
#include <osg/MatrixTransform>
#include <osg/Notify>
#include <osg/Texture2D>
#include <osgEarth/GLUtils>
#include <osgEarth/VirtualProgram>
#include <osgText/Text>

#include <sstream>

using namespace drawingtest;
using osgEarth::VirtualProgram;
using namespace osgEarth::ShaderComp;

namespace {

const osg::Vec4 kGray(0.5f, 0.5f, 0.5f, 1.0f);

std::string colorFunction(const std::string& name, const std::string& body) {
    return "void " + name + "(inout vec4 color) { " + body + " }\n";
}

/// Root, inner group and a gray square below it.
struct Scene {
    osg::ref_ptr<osg::Group> root = new osg::Group;
    osg::ref_ptr<osg::Group> inner = new osg::Group;
    osg::ref_ptr<osg::Geometry> leaf = square(kGray);

    Scene() {
        root->addChild(inner);
        inner->addChild(leaf);
    }
    void set(osg::Node* on, const std::string& name, const std::string& body,
             FunctionLocation location = LOCATION_FRAGMENT_COLORING, float order = 1.0f) const {
        VirtualProgram::getOrCreate(on->getOrCreateStateSet())
            ->setFunction(name, colorFunction(name, body), location, order);
    }
    osg::Vec3i color() const { return centerPixel(*Canvas().draw(root)); }
};

/// Catches what OSG writes to its log.
class LogCapture : public osg::NotifyHandler {
public:
    void notify(osg::NotifySeverity severity, const char* message) override {
        if (severity <= osg::WARN) {
            m_text << message;
        }
    }
    std::string text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
};

int occurrences(const std::string& text, const std::string& word) {
    int found = 0;
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        ++found;
    }
    return found;
}

} // namespace

TEST(VirtualProgram, IsFoundOnItsStateSet) {
    osg::ref_ptr<osg::StateSet> stateSet = new osg::StateSet;
    EXPECT_EQ(VirtualProgram::get(stateSet), nullptr);
    VirtualProgram* program = VirtualProgram::getOrCreate(stateSet);
    EXPECT_EQ(VirtualProgram::getOrCreate(stateSet), program);
    EXPECT_EQ(program->getType(), osg::StateAttribute::PROGRAM);
    EXPECT_EQ(VirtualProgram::getOrCreate(nullptr), nullptr);
    EXPECT_NE(VirtualProgram::cloneOrCreate(stateSet), program);
}

TEST(VirtualProgram, WithoutFunctionsTheFixedPipelineDraws) {
    const Scene scene;
    VirtualProgram::getOrCreate(scene.root->getOrCreateStateSet());
    EXPECT_EQ(scene.color(), osg::Vec3i(128, 128, 128));
}

TEST(VirtualProgram, FunctionsOfTheWholeStackAreMerged) {
    const Scene scene;
    scene.set(scene.root, "add_red", "color.r = 1.0;");
    scene.set(scene.inner, "add_blue", "color.b = 0.0;");
    EXPECT_EQ(scene.color(), osg::Vec3i(255, 128, 0));
}

TEST(VirtualProgram, LocationThenOrderThenInsertionDecide) {
    const Scene scene;
    scene.set(scene.inner, "lit", "color = vec4(color.r * 0.5, color.g, 0.0, 1.0);",
              LOCATION_FRAGMENT_LIGHTING);
    scene.set(scene.root, "late", "color.r += 1.0;", LOCATION_FRAGMENT_COLORING, 2.0f);
    scene.set(scene.inner, "early", "color.rg = vec2(0.0, 1.0);", LOCATION_FRAGMENT_COLORING, 0.5f);
    EXPECT_EQ(scene.color(), osg::Vec3i(128, 255, 0)); // early, late, lit
}

TEST(VirtualProgram, AFunctionFurtherDownReplacesItsNamesake) {
    const Scene scene;
    scene.set(scene.root, "tint", "color.rgb = vec3(1.0, 0.0, 0.0);");
    scene.set(scene.inner, "tint", "color.rgb = vec3(0.0, 1.0, 0.0);");
    EXPECT_EQ(scene.color(), osg::Vec3i(0, 255, 0));
}

TEST(VirtualProgram, SettingAFunctionAgainReplacesItOnALiveGraph) {
    const Scene scene;
    Canvas canvas;
    scene.set(scene.inner, "tint", "color.rgb = vec3(1.0, 0.0, 0.0);");
    EXPECT_EQ(centerPixel(*canvas.draw(scene.root)), osg::Vec3i(255, 0, 0));
    scene.set(scene.inner, "tint", "color.b += 1.0;");
    EXPECT_EQ(centerPixel(*canvas.draw(scene.root)), osg::Vec3i(128, 128, 255));
    VirtualProgram::get(scene.inner->getStateSet())->removeShader("tint");
    EXPECT_EQ(centerPixel(*canvas.draw(scene.root)), osg::Vec3i(128, 128, 128));
}

TEST(VirtualProgram, NotInheritingRestartsTheList) {
    const Scene scene;
    scene.set(scene.root, "red", "color.r = 1.0;");
    scene.set(scene.inner, "blue", "color.b = 1.0;");
    VirtualProgram::get(scene.inner->getStateSet())->setInheritShaders(false);
    EXPECT_EQ(scene.color(), osg::Vec3i(128, 128, 255));
}

TEST(VirtualProgram, SharedLeafProgramFollowsTheStackAboveIt) {
    // Two squares with one and the same state set, below different parents.
    osg::ref_ptr<osg::Group> root = new osg::Group;
    osg::ref_ptr<osg::StateSet> shared = new osg::StateSet;
    VirtualProgram::getOrCreate(shared)->setFunction(
        "base", colorFunction("base", "color.rgb = vec3(0.0, 0.0, 1.0);"), LOCATION_FRAGMENT_COLORING);
    for (int side = 0; side < 2; ++side) {
        osg::ref_ptr<osg::MatrixTransform> parent =
            new osg::MatrixTransform(osg::Matrix::translate(side == 0 ? -0.5 : 0.5, 0.0, 0.0));
        osg::ref_ptr<osg::Geometry> leaf = square(kGray);
        leaf->setStateSet(shared);
        parent->addChild(leaf);
        if (side == 1) {
            VirtualProgram::getOrCreate(parent->getOrCreateStateSet())
                ->setFunction("lit", colorFunction("lit", "color.r = 1.0;"), LOCATION_FRAGMENT_LIGHTING);
        }
        root->addChild(parent);
    }
    const osg::ref_ptr<osg::Image> image = Canvas().draw(root);
    EXPECT_EQ(pixel(*image, 16, 32), osg::Vec3i(0, 0, 255));
    EXPECT_EQ(pixel(*image, 48, 32), osg::Vec3i(255, 0, 255));
}

TEST(VirtualProgram, PlainProgramFurtherDownReplacesEverything) {
    const Scene scene;
    scene.set(scene.root, "red", "color.rgb = vec3(1.0, 0.0, 0.0);");
    osg::ref_ptr<osg::Program> plain = new osg::Program;
    plain->addShader(
        new osg::Shader(osg::Shader::FRAGMENT, "void main() { gl_FragColor = vec4(0.0, 1.0, 1.0, 1.0); }"));
    scene.inner->getOrCreateStateSet()->setAttributeAndModes(plain);
    EXPECT_EQ(scene.color(), osg::Vec3i(0, 255, 255));
}

TEST(VirtualProgram, NothingLeaksToSiblings) {
    osg::ref_ptr<osg::Group> root = new osg::Group;
    osg::ref_ptr<osg::MatrixTransform> left =
        new osg::MatrixTransform(osg::Matrix::translate(-0.5, 0.0, 0.0));
    osg::ref_ptr<osg::MatrixTransform> right =
        new osg::MatrixTransform(osg::Matrix::translate(0.5, 0.0, 0.0));
    left->addChild(square(kGray));
    right->addChild(square(kGray));
    root->addChild(left);
    root->addChild(right);
    VirtualProgram::getOrCreate(left->getOrCreateStateSet())
        ->setFunction("red", colorFunction("red", "color.rgb = vec3(1.0, 0.0, 0.0);"),
                      LOCATION_FRAGMENT_COLORING);
    Canvas canvas;
    canvas.draw(root);
    const osg::ref_ptr<osg::Image> image =
        canvas.draw(root); // the second frame starts with the first one's last state
    EXPECT_EQ(pixel(*image, 16, 32), osg::Vec3i(255, 0, 0));
    EXPECT_EQ(pixel(*image, 48, 32), osg::Vec3i(128, 128, 128));
}

TEST(VirtualProgram, VertexFunctionsRunInTheirSpacesAndShareGlobals) {
    const Scene scene;
    VirtualProgram* program = VirtualProgram::getOrCreate(scene.root->getOrCreateStateSet());
    program->setFunction("move", "void move(inout vec4 vertex) { vertex.x += 0.5; }\n",
                         LOCATION_VERTEX_MODEL);
    program->setFunction("back", "void back(inout vec4 vertex) { vertex.x -= 0.5 * vertex.w; }\n",
                         LOCATION_VERTEX_CLIP);
    program->setFunction(
        "dye", "vec4 vp_Color;\nvoid dye(inout vec4 vertex) { vp_Color = vec4(1.0, 0.0, 1.0, 1.0); }\n",
        LOCATION_VERTEX_VIEW);
    EXPECT_EQ(scene.color(), osg::Vec3i(255, 0, 255));
}

TEST(VirtualProgram, QuotesAndVersionLinesInSourcesAreHarmless) {
    const Scene scene;
    VirtualProgram::getOrCreate(scene.root->getOrCreateStateSet())
        ->setFunction("quoted",
                      "#version 110\n// \"quoted\"\nvoid quoted(inout vec4 color) { color.r = 1.0; \"\" }\n",
                      LOCATION_FRAGMENT_COLORING);
    EXPECT_EQ(scene.color(), osg::Vec3i(255, 128, 128));
}

TEST(VirtualProgram, OutputFunctionsHaveTheLastWord) {
    const Scene scene;
    scene.set(scene.root, "lit", "color.r = 1.0;", LOCATION_FRAGMENT_LIGHTING);
    scene.set(scene.inner, "write", "gl_FragColor = vec4(0.0, 0.0, color.r, 1.0);", LOCATION_FRAGMENT_OUTPUT);
    EXPECT_EQ(scene.color(), osg::Vec3i(0, 0, 255));
}

TEST(VirtualProgram, ABrokenFunctionIsReportedOnceAndTheRestDraws) {
    const osg::ref_ptr<LogCapture> log = new LogCapture;
    const osg::ref_ptr<osg::NotifyHandler> before = osg::getNotifyHandler();
    osg::setNotifyHandler(log);
    const Scene scene;
    scene.set(scene.root, "good", "color.r = 1.0;");
    scene.set(scene.inner, "broken", "color = no_such_thing_anywhere;");
    Canvas canvas;
    canvas.draw(scene.root);
    const osg::Vec3i color = centerPixel(*canvas.draw(scene.root));
    osg::setNotifyHandler(before);
    EXPECT_EQ(color, osg::Vec3i(255, 128, 128));
    EXPECT_EQ(occurrences(log->text(), "does not compile and is left out"), 1) << log->text();
    EXPECT_NE(log->text().find("1: void broken(inout vec4 color)"), std::string::npos) << log->text();
}

TEST(VirtualProgram, AFunctionThatDoesNotLinkIsLeftOut) {
    const Scene scene;
    scene.set(scene.root, "good", "color.r = 1.0;");
    VirtualProgram::getOrCreate(scene.inner->getOrCreateStateSet())
        ->setFunction("missing", "void misspelt(inout vec4 color) { color.g = 1.0; }\n",
                      LOCATION_FRAGMENT_COLORING);
    const osg::ref_ptr<osg::NotifyHandler> before = osg::getNotifyHandler();
    osg::setNotifyHandler(new LogCapture);
    const osg::Vec3i color = scene.color();
    osg::setNotifyHandler(before);
    EXPECT_EQ(color, osg::Vec3i(255, 128, 128));
}

TEST(VirtualProgram, TextBelowItStillShowsItsLetters) {
    osg::ref_ptr<osgText::Text> text = new osgText::Text;
    text->setCharacterSize(1.4f);
    text->setPosition(osg::Vec3(-0.5f, -0.5f, 0.0f));
    text->setText("I");
    osg::ref_ptr<osg::Group> root = new osg::Group;
    root->addChild(text);
    Canvas canvas;
    const osg::ref_ptr<osg::Image> plain = canvas.draw(root);
    VirtualProgram::getOrCreate(root->getOrCreateStateSet());
    const osg::ref_ptr<osg::Image> below = canvas.draw(root);
    const auto isLit = [](const osg::Vec3i& p) { return p.x() > 100; };
    EXPECT_GT(count(*plain, isLit), 20);
    EXPECT_EQ(differences(*plain, *below), 0);
}

TEST(GLUtils, GlobalDefaultsAreAttributesAndUniforms) {
    osg::ref_ptr<osg::StateSet> stateSet = new osg::StateSet;
    osgEarth::GLUtils::setGlobalDefaults(stateSet);
    osgEarth::GLUtils::setGlobalDefaults(stateSet);
    EXPECT_NE(stateSet->getAttribute(osg::StateAttribute::LINEWIDTH), nullptr);
    EXPECT_NE(stateSet->getAttribute(osg::StateAttribute::POINT), nullptr);
    float width = 0.0f;
    ASSERT_NE(stateSet->getUniform("oe_GL_LineWidth"), nullptr);
    EXPECT_TRUE(stateSet->getUniform("oe_GL_LineWidth")->get(width));
    EXPECT_FLOAT_EQ(width, 1.0f);
    EXPECT_NE(stateSet->getUniform("oe_GL_LineStipplePattern"), nullptr);
    EXPECT_NE(stateSet->getUniform("oe_GL_PointSize"), nullptr);
}
