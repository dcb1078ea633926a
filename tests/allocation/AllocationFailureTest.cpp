#include "FaultyAllocation.h"

#include <zblib/containers/ZbDArray.h>
#include <zblib/containers/ZbFilename.h>
#include <zblib/containers/ZbHashTable.h>
#include <zblib/containers/ZbString.h>
#include <zblib/containers/ZbStringTokenizer.h>
#include <zblib/data/ZbHistogram.h>
#include <zblib/data/ZbRawData.h>
#include <zblib/data/ZbRawData3D.h>
#include <zblib/foundation/StringTupel.h>
#include <zblib/foundation/ZbMemoryException.h>
#include <zblib/imaging/ZbBitfield.h>
#include <zblib/imaging/ZbConnectedComponents.h>
#include <zblib/math/ZbDMatrix.h>

#include <tests/support/ElementValues.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <vector>

namespace
{

// Runs operation on a fresh object with one allocation failing, or with all from that one on. Nothing but the two
// exceptions for want of memory may come out. Then check(object, failed) looks at the object. Returns whether there was
// an allocation with that number.
template <typename Setup, typename Operation, typename Check>
bool runWithFailure(long number, FaultyAllocation::Mode mode, Setup setup, Operation operation, Check check)
{
    auto object = setup();
    bool thrown = false;
    {
        const FaultyAllocation faulty(number, mode);
        try {
            operation(object);
        } catch (const ZbMemoryException&) {
            thrown = true;
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
    }
    const bool failed = FaultyAllocation::hasFailed();
    EXPECT_TRUE(failed || !thrown);
    check(object, thrown);
    return failed;
}

// Lets the first, the second, ... allocation fail, until the operation gets through. No memory may be lost.
template <typename Setup, typename Operation, typename Check>
void expectSafe(Setup setup, Operation operation, Check check)
{
    for (const auto mode : {FaultyAllocation::Mode::Once, FaultyAllocation::Mode::FromThen}) {
        // What is kept for the life of the process is made in these runs, by the operation and by a first exception.
        runWithFailure(std::numeric_limits<long>::max(), mode, setup, operation, check);
        bool failed = runWithFailure(0, mode, setup, operation, check);
        for (long number = 0; failed; ++number) {
            SCOPED_TRACE(::testing::Message() << "allocation " << number << ", mode " << int(mode));
            ASSERT_LT(number, 10000);
            const long before = FaultyAllocation::numLiveBlocks();
            failed = runWithFailure(number, mode, setup, operation, check);
            ASSERT_EQ(FaultyAllocation::numLiveBlocks(), before);
        }
    }
}

// ---- containers

ZbDArray<ZbString> words()
{
    return {"a word that is longer than sixteen characters", "short", ""};
}

TEST(AllocationFailure, leavesArraysAsTheyWere)
{
    using Words = ZbDArray<ZbString>;
    const auto hasSize = [](long size) {
        return [size](const Words& array, bool failed) {
            ASSERT_EQ(array.size(), failed ? 3 : size);
            EXPECT_EQ(array[0], words()[0]);
            EXPECT_EQ(array.last(), failed || size == 3 ? words()[2] : array.last());
        };
    };
    expectSafe(
        words, [](Words& array) { array.append(array[0]); }, hasSize(4));
    expectSafe(
        words, [](Words& array) { array.insert(1, array[0]); }, hasSize(4));
    expectSafe(
        words, [](Words& array) { array.resize(10); }, hasSize(10));
    expectSafe(
        words, [](Words& array) { array.remax(100); }, hasSize(3));
    expectSafe(
        words, [](Words& array) { Words(array).swap(array); }, hasSize(3));
}

TEST(AllocationFailure, leavesStringsAsTheyWere)
{
    const auto setup = [] { return words()[0]; };
    const std::string before = setup().getString();
    const std::string filler(3000, 'x');
    const auto becomes = [&](const std::string& changed) {
        return [&before, changed](const ZbString& string, bool failed) {
            EXPECT_EQ(std::string(string.getString()), failed ? before : changed);
        };
    };
    expectSafe(
        setup, [&](ZbString& string) { string += filler.c_str(); }, becomes(before + filler));
    expectSafe(
        setup, [&](ZbString& string) { string = filler.c_str(); }, becomes(filler));
    expectSafe(
        setup, [&](ZbString& string) { string.printf("%s|%s", string.getString(), filler.c_str()); },
        becomes(before + "|" + filler));
    expectSafe(
        setup, [](ZbString& string) { string = string.protect(true); }, becomes('"' + before + '"'));
    // A stream does not throw; what it could not append is not there.
    expectSafe(
        setup, [&](ZbString& string) { string.stream() << filler; },
        [&](const ZbString& string, bool) { EXPECT_TRUE(string.startsWith(before.c_str())); });
    expectSafe(
        words, [](ZbDArray<ZbString>& parts) { words()[0].explode(' ', parts); },
        [](const ZbDArray<ZbString>& parts, bool failed) { EXPECT_TRUE(failed || parts.size() == 8); });
}

TEST(AllocationFailure, leavesTablesAsTheyWere)
{
    using Table = ZbHashTable<const char*, ZbString>;
    static const std::vector<std::string> keys = [] {
        std::vector<std::string> names;
        for (int i = 0; i < 80; ++i)
            names.push_back("key" + std::to_string(i));
        return names;
    }();
    const auto setup = [] {
        Table table(words()[1]);
        for (size_t i = 0; i < 20; ++i)
            table.insert(keys[i].c_str(), words()[0]);
        return table;
    };
    const auto holds = [](const Table& table, bool) {
        for (size_t i = 0; i < 20; ++i)
            EXPECT_EQ(*table.lookup(keys[i].c_str()), words()[0]);
    };
    expectSafe(
        setup,
        [](Table& table) {
            for (size_t i = 20; i < 80; i += 4)
                table.insert(keys[i].c_str(), words()[0]);
        },
        holds);
    expectSafe(
        setup, [](Table& table) { table[keys[70].c_str()] = words()[0]; }, holds);
    expectSafe(
        setup, [](Table& table) { Table(table).swap(table); }, holds);
}

TEST(AllocationFailure, leavesFileNamesUsable)
{
    expectSafe([] { return ZbFilename("/some/folder/../where/a file.name"); },
               [](ZbFilename& name) {
                   name.pack();
                   name.makeRelativeTo(ZbFilename("/some/other"));
                   name.setExtension("longer than before");
                   name.quote();
               },
               [](const ZbFilename& name, bool failed) {
                   EXPECT_TRUE(failed || name == "\"../where/a file.longer than before\"")
                       << name.getString();
                   EXPECT_EQ(long(std::string(name.getString()).size()), name.length());
               });
}

TEST(AllocationFailure, keepsNothingOfWordsThatWereNotAllCopied)
{
    expectSafe([] { return 0; }, [](int) { StringTupel words("some words of a filter"); }, [](int, bool) {});
}

// ---- data

TEST(AllocationFailure, leavesHistogramsConsistent)
{
    static const std::vector<float> values = elementValues<float>(20000, 1);
    expectSafe([] { return ZbHistogram(0, 255, 1); },
               [](ZbHistogram& histogram) {
                   histogram.init(0.0, 1000.0, 700);
                   ZbRawData::getHistogram(ZbTypedPointer(const_cast<float*>(values.data())),
                                           long(values.size()), histogram);
                   histogram.addValues(values.data(), values.size());
                   histogram = histogram.resampled(1000);
               },
               [](const ZbHistogram& histogram, bool) {
                   unsigned long long sum = 0;
                   for (int bin = 0; bin < histogram.getNumBins(); ++bin)
                       sum += histogram[bin];
                   EXPECT_EQ(sum, histogram.getOverallCounts());
               });
}

TEST(AllocationFailure, leavesBlocksAsTheyWereOrEmpty)
{
    const auto setup = [] {
        ZbRawData3D block(20, 10, 5, 2);
        std::memset(block.dataPtr(), 7, 20 * 10 * 5 * 2);
        return block;
    };
    const auto sizeIs = [](long changed) {
        return [changed](const ZbRawData3D& block, bool failed) {
            EXPECT_EQ(block.sizeX(), failed ? 20 : changed);
            EXPECT_EQ(*static_cast<const char*>(block.dataPtr()), 7);
        };
    };
    const int from[] = {-1, 0, 0}, to[] = {18, 9, 4};
    const short fill = 0x0707;
    expectSafe(
        setup, [&](ZbRawData3D& block) { ZbRawData::crop(block, from, to, &fill); }, sizeIs(20));
    expectSafe(
        setup, [](ZbRawData3D& block) { block.resize(30, 30, 30); },
        [](const ZbRawData3D& block, bool failed) {
            EXPECT_EQ(block.getNumElems(), failed ? 0 : 27000);
            EXPECT_EQ(block.dataPtr() == nullptr, failed);
        });
}

TEST(AllocationFailure, labelsOrFailsWhole)
{
    const int dims[] = {61, 47, 9};
    static const std::vector<unsigned char> values = elementValues<unsigned char>(61 * 47 * 9, 2);
    struct Result {
        std::vector<int> labels = std::vector<int>(values.size());
        ZbDArray<ZbConnectedComponents::Region> regions;
        long count = 0;
    };
    expectSafe([] { return Result(); },
               [&](Result& result) {
                   result.count = ZbConnectedComponents::labelRegions(
                       ZbTypedPointer(const_cast<unsigned char*>(values.data())), dims, 6,
                       ZbTypedPointer(result.labels.data()), 100, 200, false, result.regions);
               },
               [](const Result& result, bool failed) {
                   EXPECT_TRUE(failed || (result.regions.size() == result.count + 1 && result.count > 0));
               });
}

// ---- bit fields and matrices

TEST(AllocationFailure, leavesBitFieldsAsTheyWere)
{
    static const ZbBitfield large(5000, ZbBitfield::INIT_SET);
    const QByteArray text = large.serialize();
    const auto becomes = [](unsigned long size) {
        return [size](const ZbBitfield& field, bool failed) {
            EXPECT_EQ(field.nBits(), failed ? 100 : size);
            EXPECT_EQ(field.nSetBits(), field.nBits());
        };
    };
    const auto setup = [] { return ZbBitfield(100, ZbBitfield::INIT_SET); };
    expectSafe(
        setup, [](ZbBitfield& field) { field = large; }, becomes(5000));
    expectSafe(
        setup, [](ZbBitfield& field) { field.resize(5000, ZbBitfield::INIT_SET); }, becomes(5000));
    expectSafe(
        setup, [&](ZbBitfield& field) { field.deserialize(text); }, becomes(5000));
    expectSafe(
        setup, [](ZbBitfield& field) { (void)field.serialize(); }, becomes(100));
}

TEST(AllocationFailure, leavesOutputsOfMatricesAsTheyWere)
{
    struct Outputs {
        ZbDMatrix<double> matrix{12, 9}, U{1, 1}, V{1, 1};
        ZbDVector<double> w;
    };
    expectSafe(
        [] {
            Outputs outputs;
            for (int i = 0; i < 12; ++i)
                for (int j = 0; j < 9; ++j)
                    outputs.matrix(i, j) = 1.0 / (1 + i + j * j);
            return outputs;
        },
        [](Outputs& outputs) { EXPECT_EQ(outputs.matrix.SVD(outputs.U, outputs.w, outputs.V), 1); },
        [](const Outputs& outputs, bool failed) { EXPECT_EQ(outputs.w.size(), failed ? 0 : 9); });
}

}  // namespace
