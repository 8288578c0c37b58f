// Headers that nearly every source of the globe reads.
#pragma once
#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <osg/Geometry>
#include <osg/MatrixTransform>
#include <osg/NodeVisitor>
#include <osg/PagedLOD>
#include <osg/StateSet>
#include <osg/observer_ptr>
#include <osgUtil/CullVisitor>
#include <string>
#include <vector>
