/// Makes linked programs from lists of shader functions.
#pragma once

#include <osg/Program>
#include <osg/State>
#include <osgEarth/VirtualProgram>

#include <map>
#include <string>
#include <vector>

namespace osgEarth {

/// What is left of a chain of virtual programs after merging: functions in calling order, whole shaders,
/// bindings.
class ComposedSource {
public:
    /// Adds the content of a virtual program further down; functions of the same name and stage are replaced.
    void add(const VirtualProgram::Content& content, const osg::State& state);

    /// Sorts by location, then order, then insertion.
    void sort();

    /// Everything that the program depends on, as one text.
    std::string key() const;

    bool empty() const { return entries.empty(); }

    std::vector<VirtualProgram::Entry> entries;
    std::map<std::string, GLuint> attribLocations;
};

/// True for functions of the vertex stage.
bool isVertexFunction(const VirtualProgram::Entry& entry);

/// Whether two entries are the same function or shader and cannot both be in a program.
bool isSameFunction(const VirtualProgram::Entry& a, const VirtualProgram::Entry& b);

/// The generated `main` of a stage, with declarations of the functions it calls.
std::string vertexMain(const ComposedSource& source);
std::string fragmentMain(const ComposedSource& source);

/// The text that the compiler gets: a version line, then the source without double quotes and version line.
std::string preparedSource(const std::string& source);

/// The linked program for a merged source; equal sources share one as long as someone holds it. Functions
/// that do not compile or link are reported once and left out; when nothing is left the program is empty,
/// that is, the fixed pipeline. Call with the context of the state current.
osg::ref_ptr<osg::Program> composedProgram(const ComposedSource& source, osg::State& state);

} // namespace osgEarth
