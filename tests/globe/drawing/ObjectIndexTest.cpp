#include <gtest/gtest.h>
#include <osg/Geometry>
#include <osg/Group>
#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarth/VirtualProgram>

#include <thread>

using namespace osgEarth;

namespace {

osg::ref_ptr<ObjectIndex> freshIndex() {
    return new ObjectIndex;
}

osg::ref_ptr<osg::Geometry> triangle() {
    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setVertexArray(new osg::Vec3Array(3));
    return geometry;
}

} // namespace

TEST(ObjectIndex, FirstIdIsElevenAndEveryCallMakesANewOne) {
    const osg::ref_ptr<ObjectIndex> index = freshIndex();
    osg::ref_ptr<osg::Group> group = new osg::Group;
    EXPECT_EQ(index->insert(group), 11u);
    EXPECT_EQ(index->insert(group), 12u);
    EXPECT_EQ(index->get<osg::Group>(11), group);
    EXPECT_EQ(index->get<osg::Group>(12), group);
}

TEST(ObjectIndex, IdsAreNotReusedAfterRemoval) {
    const osg::ref_ptr<ObjectIndex> index = freshIndex();
    osg::ref_ptr<osg::Group> group = new osg::Group;
    const ObjectID first = index->insert(group);
    index->remove(first);
    EXPECT_FALSE(index->get<osg::Group>(first).valid());
    EXPECT_GT(index->insert(group), first);
}

TEST(ObjectIndex, HoldsObjectsWeaklyAndChecksTypes) {
    const osg::ref_ptr<ObjectIndex> index = freshIndex();
    osg::ref_ptr<osg::Node> node = new osg::Node;
    const ObjectID id = index->insert(node);
    EXPECT_FALSE(index->get<osg::Group>(id).valid());
    EXPECT_TRUE(index->get<osg::Node>(id).valid());
    node = nullptr;
    EXPECT_FALSE(index->get<osg::Node>(id).valid());
    EXPECT_FALSE(index->get<osg::Node>(999).valid());
}

TEST(ObjectIndex, TaggedNodeCarriesItsIdInAUniform) {
    const osg::ref_ptr<ObjectIndex> index = freshIndex();
    osg::ref_ptr<osg::Group> group = new osg::Group;
    ObjectID found = 0;
    EXPECT_FALSE(index->getObjectID(group, found));
    const ObjectID id = index->tagNode(group, group);
    EXPECT_TRUE(index->getObjectID(group, found));
    EXPECT_EQ(found, id);
    const ObjectID again = index->tagNode(group, group);
    EXPECT_TRUE(index->getObjectID(group, found));
    EXPECT_EQ(found, again);
    EXPECT_NE(again, id);
}

TEST(ObjectIndex, TaggedDrawablesCarryIdsPerVertex) {
    const osg::ref_ptr<ObjectIndex> index = freshIndex();
    osg::ref_ptr<osg::Group> group = new osg::Group;
    osg::ref_ptr<osg::Geometry> geometry = triangle();
    group->addChild(geometry);
    group->addChild(new osg::Group);
    const ObjectID id = index->tagAllDrawables(group, group);
    std::set<ObjectID> ids;
    EXPECT_TRUE(index->getObjectIDs(geometry, ids));
    EXPECT_EQ(ids, std::set<ObjectID>{id});
    const osg::Array* array =
        geometry->getVertexAttribArray(static_cast<unsigned>(index->getObjectIDAttribLocation()));
    EXPECT_EQ(array->getNumElements(), 3u);
    EXPECT_TRUE(array->getPreserveDataType());
}

TEST(ObjectIndex, RegistryHoldsOneForTheProcess) {
    EXPECT_NE(Registry::objectIndex(), nullptr);
    EXPECT_EQ(Registry::objectIndex(), Registry::objectIndex());
    EXPECT_EQ(Registry::objectIndex()->getObjectIDUniformName(), "oe_index_objectid_uniform");
    EXPECT_EQ(Registry::objectIndex()->getObjectIDAttribLocation(), 4);
}

TEST(ObjectIndex, ThreadsGetDistinctIds) {
    const osg::ref_ptr<ObjectIndex> index = freshIndex();
    osg::ref_ptr<osg::Group> group = new osg::Group;
    std::vector<std::vector<ObjectID>> ids(4);
    std::vector<std::thread> threads;
    for (std::vector<ObjectID>& mine : ids) {
        threads.emplace_back([&mine, &index, &group] {
            for (int i = 0; i < 1000; ++i) {
                mine.push_back(index->insert(group));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::set<ObjectID> distinct;
    for (const std::vector<ObjectID>& mine : ids) {
        distinct.insert(mine.begin(), mine.end());
    }
    EXPECT_EQ(distinct.size(), 4000u);
    EXPECT_EQ(*distinct.begin(), 11u);
}
