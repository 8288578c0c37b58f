#include "workbench/inspectiondata/creation/KilometrePosts.h"

#include <gtest/gtest.h>

namespace {

using namespace inspection;

const LinePart kLine{{0, 0}, {1000, 0}, {1000, 1000}};

TEST(ChainageTextTest, KilometresAndStakesAreUnderstood) {
    const struct {
        const char* text;
        std::optional<double> metres;
    } cases[] = {
        {"12.5", 12500.0},     {"K12+500", 12500.0},   {"k12+500.25", 12500.25}, {"12+500", 12500.0},
        {" K0+000 ", 0.0},     {"K 3 + 040", 3040.0},  {"K7", 7000.0},           {"0", 0.0},
        {"", std::nullopt},    {"阀室", std::nullopt}, {"K12+", std::nullopt},   {"12+5000", std::nullopt},
        {"nan", std::nullopt}, {"1e400", std::nullopt}};
    for (const auto& [text, metres] : cases) {
        EXPECT_EQ(chainageOf(QString::fromUtf8(text)), metres) << text;
    }
}

TEST(ChainageTest, CountsAlongTheLineFromItsStart) {
    const auto vertices = chainagesFrom(kLine, 250.0);
    ASSERT_EQ(vertices.size(), 3U);
    EXPECT_DOUBLE_EQ(vertices[0].chainageMetres, 250.0);
    EXPECT_DOUBLE_EQ(vertices[2].chainageMetres, 2250.0);
}

TEST(KilometrePostsTest, ChainagesAreThoseOfThePostsAndInProportionBetweenThem) {
    // The second kilometre is 1,010 m long by its posts, as after a detour that was never staked anew.
    const auto vertices = chainagesBy({{"K1", 1000, 0, 3}, {"K2.01", 2010, 1000, -2}}, kLine, 10.0);
    ASSERT_TRUE(vertices.has_value());
    ASSERT_EQ(vertices->size(), 3U); // posts at vertices add none
    EXPECT_DOUBLE_EQ((*vertices)[0].chainageMetres, 1000.0);
    EXPECT_DOUBLE_EQ((*vertices)[1].chainageMetres, 2010.0);
    EXPECT_DOUBLE_EQ((*vertices)[2].chainageMetres, 3010.0);
}

TEST(KilometrePostsTest, APostBetweenVerticesBecomesAVertex) {
    const auto vertices = chainagesBy({{"a", 600, 500, 0}, {"b", 1200, 1000, 0}}, kLine, 10.0);
    ASSERT_TRUE(vertices.has_value());
    ASSERT_EQ(vertices->size(), 4U);
    EXPECT_DOUBLE_EQ((*vertices)[0].chainageMetres, 100.0); // by length before the first post
    EXPECT_DOUBLE_EQ((*vertices)[1].x, 500.0);
    EXPECT_DOUBLE_EQ((*vertices)[1].chainageMetres, 600.0);
    EXPECT_DOUBLE_EQ((*vertices)[2].chainageMetres, 1200.0);
    EXPECT_DOUBLE_EQ((*vertices)[3].chainageMetres, 2200.0);
}

TEST(KilometrePostsTest, ALineAgainstThePostsIsTurned) {
    const auto vertices = chainagesBy({{"K0", 0, 1000, 1000}, {"K2", 2000, 0, 0}}, kLine, 10.0);
    ASSERT_TRUE(vertices.has_value());
    EXPECT_DOUBLE_EQ(vertices->front().y, 1000.0);
    EXPECT_DOUBLE_EQ(vertices->front().chainageMetres, 0.0);
    EXPECT_DOUBLE_EQ(vertices->back().chainageMetres, 2000.0);
}

TEST(KilometrePostsTest, WhatDoesNotFitIsNamed) {
    const auto failure = [](const std::vector<KilometrePost>& posts) {
        const auto vertices = chainagesBy(posts, kLine, 200.0);
        EXPECT_FALSE(vertices.has_value());
        return vertices ? QString() : vertices.error().userMessage;
    };
    EXPECT_TRUE(failure({{"K0", 0, 0, 0}}).contains("少于两个"));
    EXPECT_TRUE(failure({{"K0", 0, 0, 0}, {"远桩", 500, 500, -350}}).contains("远桩"));
    EXPECT_TRUE(failure({{"K0", 0, 0, 0}, {"远桩", 500, 500, -350}}).contains("350"));
    EXPECT_TRUE(failure({{"K0", 0, 0, 0}, {"乱桩", 900, 500, 0}, {"K0.8", 800, 1000, 0}}).contains("乱桩"));
    EXPECT_TRUE(failure({{"一", 100, 500, 0}, {"二", 200, 500, 5}}).contains("递增"));
}

} // namespace
