#include <zblib/math/ZbMat4d.h>
#include <zblib/math/ZbMat4f.h>
#include <zblib/math/ZbRotf.h>
#include <zblib/math/ZbVec3d.h>
#include <zblib/math/ZbVec3f.h>

#include <Inventor/SbMatrix.h>
#include <Inventor/SbRotation.h>
#include <Inventor/SbVec3f.h>

#include <gtest/gtest.h>

TEST(Inventor, vectorsConvert)
{
    const SbVec3f scene = ZbVec3f(1, -2, 3.5f);
    EXPECT_EQ(scene, SbVec3f(1, -2, 3.5f));
    const ZbVec3f back = scene;
    EXPECT_EQ(back, ZbVec3f(1, -2, 3.5f));
    const ZbVec3d wide = scene;
    EXPECT_EQ(wide, ZbVec3d(1, -2, 3.5));
    EXPECT_EQ(SbVec3f(ZbVec3d(0.1, 0, 1e-60)), SbVec3f(0.1f, 0, 0));
    EXPECT_EQ(scene.dot(ZbVec3f(1, 1, 1)), 2.5f);
}

TEST(Inventor, matricesConvertAndMeanTheSame)
{
    const SbVec3f translation(1, -2, 3), scale(2, 0.5f, -3), axis(1, 2, 2), otherAxis(-1, 0, 1),
        centre(4, 5, 6);
    const SbRotation rotation(axis, 0.7f), orientation(otherAxis, 2.1f);
    SbMatrix theirs;
    theirs.setTransform(translation, rotation, scale, orientation, centre);

    ZbMat4f ours;
    ours.setTransform(translation, ZbRotf(ZbVec3f(axis), 0.7f), scale, ZbRotf(ZbVec3f(otherAxis), 2.1f),
                      centre);
    EXPECT_TRUE(theirs.equals(ours, 1e-5f));

    const ZbMat4f same = theirs;
    const SbMatrix back = same;
    EXPECT_EQ(back, theirs);
    const ZbMat4d wide = theirs;
    EXPECT_EQ(SbMatrix(wide), theirs);
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j)
            EXPECT_EQ(same[i][j], theirs[i][j]);
    }

    SbVec3f theirPoint;
    ZbVec3f ourPoint;
    theirs.multVecMatrix(SbVec3f(7, 8, 9), theirPoint);
    same.multVecMatrix(ZbVec3f(7, 8, 9), ourPoint);
    EXPECT_TRUE(theirPoint.equals(ourPoint, 1e-5f));
    EXPECT_TRUE(theirs.inverse().equals(same.inverse(), 1e-4f));
    EXPECT_NEAR(theirs.det4(), same.det4(), 1e-4);
}

TEST(Inventor, rotationsMeanTheSame)
{
    const ZbVec3f from1(1, 0, 0), to1(0.6f, 0.8f, 0);
    const SbRotation theirs = SbRotation(SbVec3f(from1), SbVec3f(to1)) * SbRotation(SbVec3f(0, 1, 1), 1.25f);
    const ZbRotf ours = ZbRotf(from1, to1) * ZbRotf(ZbVec3f(0, 1, 1), 1.25f);
    EXPECT_TRUE(theirs.equals(SbRotation(ours.getValue()), 1e-6f));
    SbVec3f theirImage;
    ZbVec3f ourImage;
    theirs.multVec(SbVec3f(1, 2, 3), theirImage);
    ours.multVec(ZbVec3f(1, 2, 3), ourImage);
    EXPECT_TRUE(theirImage.equals(ourImage, 1e-5f));
}
