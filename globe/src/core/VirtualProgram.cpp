#include "ProgramComposer.h"

#include <osg/State>
#include <osgEarth/VirtualProgram>

#include <algorithm>
#include <sstream>

namespace osgEarth {
namespace {

/// A number for each distinct content, 0 for none, so that chains of virtual programs compare quickly.
unsigned contentIdOf(const VirtualProgram::Content& content) {
    static std::mutex mutex;
    static std::map<std::string, unsigned> ids;
    if (content.entries.empty() && content.attribLocations.empty()) {
        return 0;
    }
    std::ostringstream text;
    for (const VirtualProgram::Entry& entry : content.entries) {
        text << entry.name << '\1' << entry.location << '\1' << entry.shaderType << '\1' << entry.order
             << '\1' << entry.accept.get() << '\1' << entry.source << '\2';
    }
    for (const auto& [name, index] : content.attribLocations) {
        text << name << '=' << index << '\2';
    }
    const std::lock_guard<std::mutex> lock(mutex);
    return ids.emplace(text.str(), static_cast<unsigned>(ids.size()) + 1).first->second;
}

} // namespace

VirtualProgram* VirtualProgram::getOrCreate(osg::StateSet* on) {
    if (!on) {
        return nullptr;
    }
    if (VirtualProgram* present = get(on)) {
        return present;
    }
    osg::ref_ptr<VirtualProgram> made = new VirtualProgram;
    on->setAttributeAndModes(made, osg::StateAttribute::ON);
    return made.get();
}

VirtualProgram* VirtualProgram::get(osg::StateSet* on) {
    return on ? dynamic_cast<VirtualProgram*>(on->getAttribute(PROGRAM)) : nullptr;
}

VirtualProgram* VirtualProgram::cloneOrCreate(osg::StateSet* on) {
    const VirtualProgram* present = get(on);
    if (!present) {
        return getOrCreate(on);
    }
    osg::ref_ptr<VirtualProgram> copy = new VirtualProgram(*present);
    on->setAttributeAndModes(copy, osg::StateAttribute::ON);
    return copy.get();
}

VirtualProgram::VirtualProgram(unsigned) : m_contentId(0), m_hasAcceptCallbacks(false) {}

VirtualProgram::VirtualProgram(const VirtualProgram& rhs, const osg::CopyOp& op)
    : osg::StateAttribute(rhs, op), m_content(rhs.copyContent()), m_contentId(rhs.m_contentId.load()),
      m_hasAcceptCallbacks(rhs.m_hasAcceptCallbacks.load()) {}

VirtualProgram::~VirtualProgram() = default;

VirtualProgram::Content VirtualProgram::copyContent() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_content;
}

void VirtualProgram::setFunction(const std::string& name, const std::string& source,
                                 ShaderComp::FunctionLocation location, float order) {
    setFunction(name, source, location, nullptr, order);
}

void VirtualProgram::setFunction(const std::string& name, const std::string& source,
                                 ShaderComp::FunctionLocation location, ShaderComp::AcceptCallback* accept,
                                 float order) {
    Entry entry;
    entry.name = name;
    entry.source = source;
    entry.location = location;
    entry.order = order;
    entry.accept = accept;
    put(std::move(entry));
}

osg::Shader* VirtualProgram::setShader(const std::string& id, osg::Shader* shader,
                                       osg::StateAttribute::OverrideValue) {
    if (shader) {
        Entry entry;
        entry.name = id;
        entry.source = shader->getShaderSource();
        entry.shaderType = shader->getType();
        put(std::move(entry));
    }
    return shader;
}

// Replacing in place keeps the place in the order of insertion.
void VirtualProgram::put(Entry entry) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Entry& present : m_content.entries) {
        if (isSameFunction(present, entry)) {
            present = std::move(entry);
            contentChanged();
            return;
        }
    }
    m_content.entries.push_back(std::move(entry));
    contentChanged();
}

void VirtualProgram::removeShader(const std::string& name) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<Entry>& entries = m_content.entries;
    entries.erase(std::remove_if(entries.begin(), entries.end(),
                                 [&name](const Entry& entry) { return entry.name == name; }),
                  entries.end());
    contentChanged();
}

void VirtualProgram::addBindAttribLocation(const std::string& name, GLuint index) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_content.attribLocations[name] = index;
    contentChanged();
}

void VirtualProgram::setInheritShaders(bool value) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_content.inherits = value;
}

bool VirtualProgram::getInheritShaders() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_content.inherits;
}

// The mutex is held. Programs made for the former content go with their last user.
void VirtualProgram::contentChanged() {
    const unsigned id = contentIdOf(m_content);
    if (id == m_contentId) {
        return;
    }
    m_contentId = id;
    m_hasAcceptCallbacks = std::any_of(m_content.entries.begin(), m_content.entries.end(),
                                       [](const Entry& entry) { return entry.accept.valid(); });
    m_programs.clear();
}

// An empty program: what OSG applies where no program is on the stack has to be the fixed pipeline.
osg::Object* VirtualProgram::cloneType() const {
    return new osg::Program;
}

int VirtualProgram::compare(const osg::StateAttribute& other) const {
    COMPARE_StateAttribute_Types(VirtualProgram, other);
    const unsigned mine = m_contentId;
    const unsigned theirs = rhs.m_contentId;
    if (mine != theirs) {
        return mine < theirs ? -1 : 1;
    }
    return static_cast<int>(getInheritShaders()) - static_cast<int>(rhs.getInheritShaders());
}

void VirtualProgram::apply(osg::State& state) const {
    // The result depends on the whole stack, so OSG must not skip the next state set for ending in this same
    // object.
    state.haveAppliedAttribute(PROGRAM);
    programFor(state)->apply(state);
}

// A state set that is just being drawn is not on OSG's stack yet, one further up is.
std::vector<const VirtualProgram*> VirtualProgram::stackOf(osg::State& state) const {
    std::vector<const VirtualProgram*> stack;
    const auto push = [&stack](const VirtualProgram* program) {
        if (!program->getInheritShaders()) {
            stack.clear();
        }
        stack.push_back(program);
    };
    for (const osg::State::AttributePair& pair : state.getAttributeVec(this)) {
        if (const VirtualProgram* program = dynamic_cast<const VirtualProgram*>(pair.first)) {
            push(program);
        } else {
            stack.clear(); // a plain program has replaced what is above it
        }
    }
    if (stack.empty() || stack.back() != this) {
        push(this);
    }
    return stack;
}

osg::ref_ptr<osg::Program> VirtualProgram::programFor(osg::State& state) const {
    const std::vector<const VirtualProgram*> stack = stackOf(state);
    const bool cacheable = std::none_of(stack.begin(), stack.end(), [](const VirtualProgram* program) {
        return program->m_hasAcceptCallbacks.load();
    });
    std::vector<unsigned> chain;
    chain.reserve(stack.size());
    for (const VirtualProgram* program : stack) {
        chain.push_back(program->m_contentId);
    }

    if (cacheable) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_programs.find(chain);
        if (found != m_programs.end()) {
            return found->second;
        }
    }

    ComposedSource source;
    for (const VirtualProgram* program : stack) {
        source.add(program->copyContent(), state);
    }
    source.sort();
    osg::ref_ptr<osg::Program> composed = composedProgram(source, state);
    if (!cacheable) {
        chain.assign(1, 0u); // only keeps the latest alive
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_programs[chain] = composed;
    return composed;
}

void VirtualProgram::resizeGLObjectBuffers(unsigned maxSize) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& entry : m_programs) {
        entry.second->resizeGLObjectBuffers(maxSize);
    }
}

// Programs are shared; the last virtual program that lets go of one releases it.
void VirtualProgram::releaseGLObjects(osg::State*) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_programs.clear();
}

} // namespace osgEarth
