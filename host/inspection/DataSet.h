#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "host/inspection/Records.h"

#include <osg/Group>
#include <osg/ref_ptr>

#include <map>
#include <string>

/// Common face of the data sets that the manager hands out; callers cast to the class they expect.
class INSPECTIONDATA_API DataSet {
public:
    virtual ~DataSet();
};

/// Index 0: the project's stored data.
class INSPECTIONDATA_API PipelineDataSet : public DataSet {
public:
    static constexpr int kIndex = 0;

    /// True while the database can be used. `connection` is 0 for the project's own database.
    virtual bool GetConncetDBState(int connection = 0) const = 0;
    /// Table of an object type code (KV_ObjectType), empty for an unknown one.
    virtual std::string Gettablename(int type) const = 0;
    /// The project's database connection; null when GetConncetDBState is false. GUI thread.
    virtual mysqlhelper::KV_MySQL* GetMySQL() = 0;
};

/// Index 2: the special objects on the globe and their records: which group of the scene stands for which
/// object. The maps' keys are compared by node identity; they keep the groups alive. Nothing here stores
/// anything or touches the scene: whoever adds or removes a group does that as well. GUI thread.
class INSPECTIONDATA_API OsgDataSet : public DataSet {
public:
    static constexpr int kIndex = 2;
    using PointMap = std::map<osg::ref_ptr<osg::Group>, Special_Point>;
    using AreaMap = std::map<osg::ref_ptr<osg::Group>, Special_Area>;
    using PolygonMap = std::map<osg::ref_ptr<osg::Group>, Special_Polygon>;

    /// Enter a group, or give a known one another record; a null group is ignored.
    virtual void addPipePoints(osg::Group* group, const Special_Point& point) = 0;
    virtual void addPipeAreas(osg::Group* group, const Special_Area& area) = 0;
    virtual void addPipePolygons(osg::Group* group, const Special_Polygon& polygon) = 0;

    /// References into the data set: they show later changes, which may come with any event. High-consequence
    /// areas are among the polygons, special areas among the areas.
    virtual const PointMap& getPipePoints() const = 0;
    virtual const AreaMap& getPipeAreas() const = 0;
    virtual const PolygonMap& getPipePolygons() const = 0;

    /// Replace the record of a known group; an unknown group is ignored.
    virtual void UpdataPipePoint(osg::Group* group, const Special_Point& point) = 0;
    virtual void UpdataPipeArea(osg::Group* group, const Special_Area& area) = 0;
    virtual void UpdataPipePolygon(osg::Group* group, const Special_Polygon& polygon) = 0;

    /// Forget a group; an unknown one is ignored. There is none for points: the entry of a point
    /// that a tool deletes stays.
    virtual void removePipeAreas(osg::Group* group) = 0;
    virtual void removePipePolygons(osg::Group* group) = 0;
};

/// Hands out the data sets, which belong to the host.
class INSPECTIONDATA_API DataSetManager {
public:
    /// 0 PipelineDataSet, 1 ParaSet, 2 OsgDataSet; null for any other index. The GUI thread; index 1 also on
    /// that of the viewer's frames.
    virtual DataSet* GetDataSet(int index) = 0;

protected:
    virtual ~DataSetManager();
};
