// A receiver of progress: shows how far long operations are, over all their steps, and may stop them.
//
//     example_ProgressReceiver        labels a volume twice
//     example_ProgressReceiver 40     and stops at 40 percent

#include <zblib/foundation/ZbProgressInterface.h>
#include <zblib/imaging/ZbConnectedComponents.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace
{

/// Prints a line whenever another tenth of the way is done, and interrupts at a given percentage.
class PrintedProgress : public ZbProgressInterface
{
public:
    explicit PrintedProgress(int stopAt) : m_stopAt(stopAt) {}

    // Both get what nested steps report, already on the scale of the whole.
    void setProgressValueGlobal(float value) override
    {
        m_percent = int(std::lround(100 * value));
        if (m_percent / 10 != m_shown) {
            m_shown = m_percent / 10;
            std::printf("%3d %%\n", m_percent);
        }
    }
    void setProgressText(const QString& text) override { std::printf("%s\n", qPrintable(text)); }

    // Operations ask now and then. A user interface would look at its Cancel button here.
    bool wasInterrupted(bool) override { return m_percent >= m_stopAt; }

private:
    int m_stopAt;
    int m_percent = 0;
    int m_shown = 0;
};

// The number of regions of a checkered volume; below 0 if it was interrupted.
long label(int cubeSize, ZbProgressInterface* progress)
{
    const int dims[3] = {128, 128, 128};
    std::vector<unsigned char> voxels;
    for (int z = 0; z < dims[2]; ++z)
        for (int y = 0; y < dims[1]; ++y)
            for (int x = 0; x < dims[0]; ++x)
                voxels.push_back(
                    static_cast<unsigned char>((x / cubeSize + y / cubeSize + z / cubeSize) % 2));
    std::vector<int> labels(voxels.size());
    ZbDArray<ZbConnectedComponents::Region> regions;
    return ZbConnectedComponents::labelRegions(ZbTypedPointer(voxels.data()), dims, 6,
                                               ZbTypedPointer(labels.data()), 1, 1, false, regions, progress);
}

}  // namespace

int main(int argc, char** argv)
{
    PrintedProgress progress(argc > 1 ? std::atoi(argv[1]) : 101);

    // Two steps, of which the second is expected to take as long as the first: each gets half of the scale. The
    // operation itself says when its step begins and ends.
    progress.subdivide(2);
    const long coarse = label(16, &progress);
    const long fine = coarse < 0 ? coarse : label(8, &progress);
    progress.undivide();
    if (fine < 0) {
        std::printf("interrupted\n");
        return 0;
    }
    std::printf("%ld and %ld regions\n", coarse, fine);
    return 0;
}
