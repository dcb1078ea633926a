// A program with one value of each kind that the pretty-printers for gdb know; see RunGdbTest.cmake.

#include <zblib/containers/ZbDArray.h>
#include <zblib/containers/ZbFilename.h>
#include <zblib/containers/ZbHashTable.h>
#include <zblib/containers/ZbSmallArray.h>
#include <zblib/containers/ZbString.h>
#include <zblib/data/ZbDim3l.h>
#include <zblib/data/ZbRawData2D.h>
#include <zblib/data/ZbRawData3D.h>
#include <zblib/imaging/ZbBitfield.h>
#include <zblib/math/ZbDMatrix.h>
#include <zblib/math/ZbDVector.h>
#include <zblib/math/ZbMat2d.h>
#include <zblib/math/ZbRotf.h>
#include <zblib/math/ZbVec3f.h>
#include <zblib/math/ZbVec4i.h>
#include <zblib/types/ZbHandable.h>
#include <zblib/types/ZbHandle.h>
#include <zblib/types/ZbTypedElement.h>
#include <zblib/types/ZbTypedPointer.h>

#include <ostream>
#include <utility>

class Counted : public ZbHandable
{
};

// Where gdb stops.
[[gnu::noinline]] void stopHere()
{
    asm volatile("");
}

int main()
{
    ZbDArray<int> numbers = {3, 1, 4};
    const ZbDArray<ZbString> names = {"one", "two"};
    ZbDArray<float> nothing;
    ZbDVector<double> vector(2);
    vector[0] = vector[1] = 1.5;
    ZbSmallArray<short, 2> inside;
    inside.append(7);
    ZbSmallArray<short, 2> outside(inside);
    outside.append(8);
    outside.append(9);
    ZbHashTable<const char*, int> table(0);
    table["apple"] = 2;
    ZbHashTable<int, ZbString> wordOf;
    wordOf[1] = "one";

    ZbString text("a \"quoted\" text");
    ZbString streamed("from a ");
    streamed.stream() << "stream";
    ZbString moved("gone");
    const ZbString taken(std::move(moved));
    const ZbFilename path("/tmp/volume.nii");

    const ZbHandle<Counted> handle(new Counted);
    const ZbHandle<Counted> second(handle);
    const ZbHandle<Counted> none;
    float values[3] = {1, 2, 3};
    ZbTypedPointer pointer(values);
    const ZbPrimType type = ZbPrimType::USHORT;
    const ZbTypedElement element(values, ZbPrimType::FLOAT, 2);

    const ZbVec3f point(1, 2.5, -3);
    const ZbVec4i corner(1, 2, 3, 4);
    const ZbMat2d matrix(1, 2, 3, 4);
    const ZbRotf rotation(0, 0, 0, 1);
    ZbDMatrix<float> dense(2, 3);
    for (int i = 0; i < 6; ++i)
        dense(i / 3, i % 3) = float(i);
    ZbBitfield bits(40, ZbBitfield::INIT_UNSET);
    bits.set(1);
    bits.set(39);
    const ZbDim3l dims(64, 32, 16);
    const ZbRawData3D block(4, 3, 2, 2);
    const ZbRawData2D slice(4, 3, 2);

    stopHere();
    // All are still alive here.
    return numbers.size() + table.size() == 4 ? 0 : 1;
}
