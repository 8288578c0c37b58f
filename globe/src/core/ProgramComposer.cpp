#include "ProgramComposer.h"

#include <osg/Notify>
#include <osg/observer_ptr>

#include <mutex>
#include <regex>
#include <set>
#include <sstream>

namespace osgEarth {
namespace {

using Entry = VirtualProgram::Entry;
using namespace ShaderComp;

constexpr int kLeastVersion = 130;

const char* const kStageGlobals = "vec4 vp_Color;\nvec3 vp_Normal;\nvec4 vp_Vertex;\n";

bool isFragmentFunction(const Entry& entry) {
    return entry.location >= LOCATION_FRAGMENT_COLORING && entry.location <= LOCATION_FRAGMENT_OUTPUT;
}

/// A fragment function that writes the frame buffer itself.
bool writesOutput(const Entry& entry) {
    static const std::regex output("\\bgl_FragColor\\b|\\bgl_FragData\\b|\\bout\\s+vec4\\b");
    return std::regex_search(entry.source, output);
}

bool declaresOutput(const Entry& entry) {
    static const std::regex output("\\bgl_FragData\\b|(^|[;}\\s])out\\s+vec4\\s+\\w+\\s*;");
    return entry.location == LOCATION_FRAGMENT_OUTPUT && std::regex_search(entry.source, output);
}

std::string call(const Entry& entry, const char* argument) {
    return "    " + entry.name + "(" + argument + ");\n";
}

template<typename Predicate>
std::string declarations(const ComposedSource& source, Predicate wanted, const char* parameter) {
    std::string text;
    for (const Entry& entry : source.entries) {
        if (wanted(entry)) {
            text += "void " + entry.name + "(inout vec4 " + parameter + ");\n";
        }
    }
    return text;
}

std::string callsAt(const ComposedSource& source, FunctionLocation location, const char* argument) {
    std::string text;
    for (const Entry& entry : source.entries) {
        if (entry.location == location) {
            text += call(entry, argument);
        }
    }
    return text;
}

/// Shaders and programs that are in use, by their text. Several draw threads may ask at once.
struct Caches {
    std::mutex mutex;
    std::map<std::string, osg::observer_ptr<osg::Program>> programs;
    std::map<std::pair<int, std::string>, osg::observer_ptr<osg::Shader>> shaders;
    std::set<std::string> reported;
};

Caches& caches() {
    static Caches instance;
    return instance;
}

osg::ref_ptr<osg::Shader> sharedShader(osg::Shader::Type type, const std::string& name,
                                       const std::string& source) {
    osg::observer_ptr<osg::Shader>& slot = caches().shaders[{static_cast<int>(type), source}];
    osg::ref_ptr<osg::Shader> shader;
    if (!slot.lock(shader)) {
        shader = new osg::Shader(type, source);
        shader->setName(name);
        slot = shader;
    }
    return shader;
}

/// The lines that a compiler's log points at, as "  3: text".
std::string linesAtFault(const std::string& log, const std::string& source) {
    static const std::regex position("\\b0[:(](\\d+)\\b");
    std::set<int> numbers;
    for (std::sregex_iterator match(log.begin(), log.end(), position), end; match != end; ++match) {
        numbers.insert(std::stoi((*match)[1]));
    }
    std::istringstream stream(source);
    std::string text;
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number) {
        if (numbers.count(number)) {
            text += "\n  " + std::to_string(number - 1) + ": " + line; // the version line was put in front
        }
    }
    return text;
}

void reportOnce(const std::string& what, const std::string& log, const std::string& source) {
    if (caches().reported.insert(what + '\n' + source).second) {
        OSG_WARN << "[osgEarth] " << what << ": " << log << linesAtFault(log, source) << std::endl;
    }
}

bool compiles(const osg::Shader& shader, osg::State& state) {
    osg::Shader::PerContextShader* perContext = shader.getPCS(state);
    if (!perContext) {
        return false;
    }
    if (perContext->needsCompile()) {
        perContext->compileShader(state);
    }
    if (perContext->isCompiled()) {
        return true;
    }
    std::string log;
    perContext->getInfoLog(log);
    reportOnce("Shader function \"" + shader.getName() + "\" does not compile and is left out", log,
               shader.getShaderSource());
    return false;
}

osg::Shader::Type shaderType(const Entry& entry) {
    if (entry.location == LOCATION_UNDEFINED) {
        return entry.shaderType;
    }
    return isVertexFunction(entry) ? osg::Shader::VERTEX : osg::Shader::FRAGMENT;
}

osg::ref_ptr<osg::Shader> shaderOf(const Entry& entry) {
    return sharedShader(shaderType(entry), entry.name, preparedSource(entry.source));
}

osg::ref_ptr<osg::Program> unlinkedProgram(const ComposedSource& source) {
    osg::ref_ptr<osg::Program> program = new osg::Program;
    program->addShader(sharedShader(osg::Shader::VERTEX, "main", vertexMain(source)));
    program->addShader(sharedShader(osg::Shader::FRAGMENT, "main", fragmentMain(source)));
    for (const Entry& entry : source.entries) {
        program->addShader(shaderOf(entry));
    }
    for (const auto& [name, index] : source.attribLocations) {
        program->addBindAttribLocation(name, index);
    }
    return program;
}

bool links(osg::Program& program, osg::State& state) {
    program.compileGLObjects(state);
    return program.getPCP(state)->isLinked();
}

template<typename Predicate>
ComposedSource onlyThose(const ComposedSource& source, Predicate wanted) {
    ComposedSource result = source;
    result.entries.clear();
    for (const Entry& entry : source.entries) {
        if (wanted(entry)) {
            result.entries.push_back(entry);
        }
    }
    return result;
}

osg::ref_ptr<osg::Program> linkedProgram(const ComposedSource& source, osg::State& state);

/// Leaves out every function that does not even link alone; if they all do, the whole list is given up.
osg::ref_ptr<osg::Program> programWithoutCulprits(const ComposedSource& source, osg::State& state) {
    const auto linksAlone = [&source, &state](const Entry& entry) {
        const ComposedSource alone = onlyThose(source, [&entry](const Entry& other) {
            return &other == &entry || other.location == LOCATION_UNDEFINED;
        });
        return links(*unlinkedProgram(alone), state);
    };
    ComposedSource remaining = onlyThose(source, linksAlone);
    if (remaining.entries.size() == source.entries.size()) {
        remaining.entries.clear();
    }
    return linkedProgram(remaining, state);
}

osg::ref_ptr<osg::Program> linkedProgram(const ComposedSource& source, osg::State& state) {
    if (source.empty()) {
        return new osg::Program;
    }
    osg::ref_ptr<osg::Program> program = unlinkedProgram(source);
    if (links(*program, state)) {
        return program;
    }
    std::string log;
    program->getPCP(state)->getInfoLog(log);
    std::string names;
    for (const Entry& entry : source.entries) {
        names += (names.empty() ? "" : ", ") + entry.name;
    }
    reportOnce("Shader functions do not link (" + names + ")", log, "");
    return programWithoutCulprits(source, state);
}

} // namespace

bool isVertexFunction(const Entry& entry) {
    return entry.location >= LOCATION_VERTEX_MODEL && entry.location <= LOCATION_VERTEX_CLIP;
}

bool isSameFunction(const Entry& a, const Entry& b) {
    return a.name == b.name && isVertexFunction(a) == isVertexFunction(b) &&
           isFragmentFunction(a) == isFragmentFunction(b);
}

void ComposedSource::add(const VirtualProgram::Content& content, const osg::State& state) {
    for (const Entry& entry : content.entries) {
        if (entry.accept.valid() && !(*entry.accept)(state)) {
            continue;
        }
        const auto present = std::find_if(entries.begin(), entries.end(), [&entry](const Entry& other) {
            return isSameFunction(entry, other);
        });
        if (present != entries.end()) {
            *present = entry;
        } else {
            entries.push_back(entry);
        }
    }
    for (const auto& [name, index] : content.attribLocations) {
        attribLocations[name] = index;
    }
}

void ComposedSource::sort() {
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        return a.location != b.location ? a.location < b.location : a.order < b.order;
    });
}

// The place in the list says all that matters of an order.
std::string ComposedSource::key() const {
    std::ostringstream text;
    for (const Entry& entry : entries) {
        text << entry.name << '\1' << entry.location << '\1' << entry.shaderType << '\1' << entry.source
             << '\2';
    }
    for (const auto& [name, index] : attribLocations) {
        text << name << '=' << index << '\2';
    }
    return text.str();
}

std::string vertexMain(const ComposedSource& source) {
    return "#version 130\n" + std::string(kStageGlobals) +
           "out vec4 oe_vp_Color;\nout vec3 oe_vp_Normal;\nout vec4 oe_vp_Vertex;\n" +
           declarations(source, isVertexFunction, "vertex") +
           "void main() {\n"
           "    vp_Color = gl_Color;\n"
           "    vp_Normal = gl_Normal;\n"
           "    vp_Vertex = gl_Vertex;\n" +
           callsAt(source, LOCATION_VERTEX_MODEL, "vp_Vertex") +
           "    vp_Normal = gl_NormalMatrix * vp_Normal;\n"
           "    vp_Vertex = gl_ModelViewMatrix * vp_Vertex;\n" +
           callsAt(source, LOCATION_VERTEX_VIEW, "vp_Vertex") +
           "    oe_vp_Vertex = vp_Vertex;\n"
           "    vp_Vertex = gl_ProjectionMatrix * vp_Vertex;\n" +
           callsAt(source, LOCATION_VERTEX_CLIP, "vp_Vertex") +
           "    oe_vp_Color = vp_Color;\n"
           "    oe_vp_Normal = vp_Normal;\n"
           "    gl_Position = vp_Vertex;\n"
           "}\n";
}

std::string fragmentMain(const ComposedSource& source) {
    bool hasOutput = false; // some function writes the colour itself
    bool declared = false;  // ... into an output of its own
    std::string outputCalls;
    for (const Entry& entry : source.entries) {
        declared = declared || declaresOutput(entry);
    }
    for (const Entry& entry : source.entries) {
        if (entry.location == LOCATION_FRAGMENT_OUTPUT) {
            outputCalls += call(entry, "vp_Color");
            if (writesOutput(entry)) {
                hasOutput = true;
            } else if (!declared) {
                outputCalls += "    gl_FragColor = vp_Color;\n";
            }
        }
    }
    return "#version 130\n" + std::string(kStageGlobals) +
           "in vec4 oe_vp_Color;\nin vec3 oe_vp_Normal;\nin vec4 oe_vp_Vertex;\n" +
           declarations(source, isFragmentFunction, "color") +
           "void main() {\n"
           "    vp_Color = oe_vp_Color;\n"
           "    vp_Normal = oe_vp_Normal;\n"
           "    vp_Vertex = oe_vp_Vertex;\n" +
           callsAt(source, LOCATION_FRAGMENT_COLORING, "vp_Color") +
           callsAt(source, LOCATION_FRAGMENT_LIGHTING, "vp_Color") +
           (hasOutput ? "" : "    gl_FragColor = vp_Color;\n") + outputCalls + "}\n";
}

std::string preparedSource(const std::string& source) {
    static const std::regex versionLine("(^|\\n)[ \\t]*#[ \\t]*version[ \\t]+(\\d+)[^\\n]*");
    std::string text = source;
    std::replace(text.begin(), text.end(), '"', ' ');
    int version = kLeastVersion;
    std::smatch match;
    if (std::regex_search(text, match, versionLine)) {
        version = std::max(version, std::stoi(match[2]));
        text = std::regex_replace(text, versionLine, "$1");
    }
    return "#version " + std::to_string(version) + (version >= 150 ? " compatibility\n" : "\n") + text;
}

osg::ref_ptr<osg::Program> composedProgram(const ComposedSource& source, osg::State& state) {
    const std::lock_guard<std::mutex> lock(caches().mutex);
    osg::observer_ptr<osg::Program>& slot = caches().programs[source.key()];
    osg::ref_ptr<osg::Program> program;
    if (!slot.lock(program)) {
        const ComposedSource sound =
            onlyThose(source, [&state](const Entry& entry) { return compiles(*shaderOf(entry), state); });
        program = linkedProgram(sound, state);
        slot = program;
    }
    return program;
}

} // namespace osgEarth
