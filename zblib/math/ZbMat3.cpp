#include <zblib/math/ZbMat3.h>

#include <zblib/math/ZbJacobi3.h>
#include <zblib/math/ZbLU.h>
#include <zblib/math/ZbMat3_EigenAnalysis.h>

#include <ostream>

template <typename T>
bool ZbMat3<T>::LUDecomposition(int index[3], T& d) noexcept
{
    return ZbDetail::luDecompose(m_rows, index, d);
}

template <typename T>
void ZbMat3<T>::jacobi(T evalues[3], ZbVec3<T> evectors[3], int& nrot) const noexcept
{
    ZbDetail::jacobi3(*this, evalues, evectors, nrot);
}

template <typename T>
int ZbMat3<T>::solveEigenSystem(T evalues[3], ZbVec3<T> evectors[3]) const noexcept
{
    T v[3][3];
    const int realCount =
        ZbMat3_EigenAnalysis::compEigen3x3(m_rows, evalues[0], evalues[1], evalues[2], v[0], v[1], v[2]);
    for (int i = 0; i < 3; ++i)
        evectors[i].setValue(v[i]);
    return realCount;
}

template class ZbMat3<float>;
template class ZbMat3<double>;

namespace
{

template <typename T>
std::ostream& write(std::ostream& stream, const ZbMat3<T>& m)
{
    for (int i = 0; i < 9; ++i)
        stream << (i == 0 ? "" : " ") << m[i / 3][i % 3];
    return stream;
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const ZbMat3f& m)
{
    return write(stream, m);
}

std::ostream& operator<<(std::ostream& stream, const ZbMat3d& m)
{
    return write(stream, m);
}
