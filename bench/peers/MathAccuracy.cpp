#include "bench/peers/Lapack.h"

#include <zblib/math/ZbDMatrix.h>
#include <zblib/math/ZbMat3f.h>
#include <zblib/numeric/ZbStatistics.h>

#include <Eigen/Dense>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/beta.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

// Errors beside other libraries, all in float, as the tables of docs/performance.md have them. Errors of matrices are in
// units of the machine epsilon times the largest element.

namespace
{

constexpr double epsilon = std::numeric_limits<float>::epsilon();
std::mt19937 generator(1);

double uniform(double low, double high)
{
    return std::uniform_real_distribution<double>(low, high)(generator);
}

// ---- symmetric 3 x 3

enum class Spectrum { Random, NearlyEqual, Graded };

Eigen::Matrix3f symmetricMatrix(Spectrum spectrum)
{
    const Eigen::Matrix3d axes = Eigen::Quaterniond::UnitRandom().toRotationMatrix();
    Eigen::Vector3d values(uniform(-1, 1), uniform(-1, 1), uniform(-1, 1));
    if (spectrum == Spectrum::NearlyEqual)
        values = Eigen::Vector3d(1, 1 + 4 * epsilon * uniform(0, 1), 1 + 1e-3 * uniform(0, 1));
    if (spectrum == Spectrum::Graded)
        values = Eigen::Vector3d(1e12, uniform(-1, 1), 1e-12);
    const Eigen::Matrix3f m = (axes * values.asDiagonal() * axes.transpose()).cast<float>();
    return m.selfadjointView<Eigen::Upper>();
}

struct Errors {
    double residual = 0, orthogonality = 0;

    void add(const Eigen::MatrixXd& difference, double size, const Eigen::MatrixXd& vectors)
    {
        const Eigen::MatrixXd unit = Eigen::MatrixXd::Identity(vectors.cols(), vectors.cols());
        residual = std::fmax(residual, difference.cwiseAbs().maxCoeff() / size / epsilon);
        orthogonality =
            std::fmax(orthogonality, (vectors.transpose() * vectors - unit).cwiseAbs().maxCoeff() / epsilon);
    }
    void addEigen(const Eigen::Matrix3f& m, const Eigen::Vector3f& values, const Eigen::Matrix3f& vectors)
    {
        const Eigen::Matrix3d v = vectors.cast<double>();
        add(m.cast<double>() * v - v * values.cast<double>().asDiagonal(), double(m.cwiseAbs().maxCoeff()),
            v);
    }
    void print(const char* name) const
    {
        std::printf("  %-36s residual %9.3g, orthogonality %9.3g\n", name, residual, orthogonality);
    }
};

void eigenvalues(const char* title, Spectrum spectrum)
{
    std::printf("%s\n", title);
    Errors jacobi, closed, iterative, direct;
    for (int round = 0; round < 10000; ++round) {
        const Eigen::Matrix3f m = symmetricMatrix(spectrum);
        const ZbMat3f ours(reinterpret_cast<const float(*)[3]>(m.data()));
        Eigen::Vector3f values;
        ZbVec3f vectors[3];
        Eigen::Matrix3f v;
        const auto columns = [&] {
            for (int i = 0; i < 3; ++i) {
                vectors[i].normalize();
                v.col(i) = Eigen::Vector3f(vectors[i].x, vectors[i].y, vectors[i].z);
            }
        };
        int rotations;
        ours.jacobi(values.data(), vectors, rotations);
        columns();
        jacobi.addEigen(m, values, v);
        if (spectrum == Spectrum::Random && ours.solveEigenSystem(values.data(), vectors) == 3 &&
            std::min(values[0] - values[1], values[1] - values[2]) > 0.1f) {
            columns();
            closed.addEigen(m, values, v);
        }
        Eigen::SelfAdjointEigenSolver<Eigen::Matrix3f> solver(m);
        iterative.addEigen(m, solver.eigenvalues(), solver.eigenvectors());
        solver.computeDirect(m);
        direct.addEigen(m, solver.eigenvalues(), solver.eigenvectors());
    }
    jacobi.print("jacobi");
    iterative.print("Eigen SelfAdjointEigenSolver");
    direct.print("Eigen computeDirect");
    if (spectrum == Spectrum::Random)
        closed.print("solveEigenSystem, gaps above 0.1");
}

// ---- dense matrices

using RowMajor = Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

ZbDMatrix<float> ownMatrix(const RowMajor& m)
{
    ZbDMatrix<float> result(int(m.rows()), int(m.cols()));
    std::copy(m.data(), m.data() + m.size(), result.row(0));
    return result;
}

Eigen::MatrixXd wide(const ZbDMatrix<float>& m)
{
    return Eigen::Map<const RowMajor>(m.row(0), m.numRows(), m.numCols()).cast<double>();
}

void solutions(int n, bool isGraded)
{
    RowMajor m = RowMajor::Random(n, n);
    if (isGraded) {
        for (int i = 0; i < n; ++i)
            m.row(i) *= float(std::pow(10.0, 24.0 * i / n - 12));
    }
    const Eigen::VectorXf b = m * Eigen::VectorXf::Random(n);
    const auto relative = [&](const Eigen::VectorXf& x) {
        return (b.cast<double>() - m.cast<double>() * x.cast<double>()).norm() / b.cast<double>().norm();
    };
    ZbDMatrix<float> factors(n, n);
    std::vector<float*> rows;
    for (int i = 0; i < n; ++i)
        rows.push_back(factors.row(i));
    Eigen::VectorXf x = b;
    float* side = x.data();
    float det;
    ownMatrix(m).solveLRdecomp(rows.data(), &side, 1, det);
    Eigen::MatrixXf columns = m;
    Eigen::VectorXf theirs = b;
    std::vector<int> pivots(static_cast<size_t>(n));
    const int one = 1;
    int info;
    sgesv_(&n, &one, columns.data(), &n, pivots.data(), theirs.data(), &n, &info);
    std::printf("%4d x %-4d %-8s |b - A x| / |b|: solveLRdecomp %.2g, sgesv %.2g\n", n, n,
                isGraded ? "graded" : "random", relative(x), relative(theirs));
}

void singularValues(int m, int n)
{
    const RowMajor matrix = RowMajor::Random(m, n);
    const Eigen::MatrixXd exact = matrix.cast<double>();
    std::printf("singular values, %d x %d\n", m, n);
    ZbDMatrix<float> u, v;
    ZbDVector<float> w;
    ownMatrix(matrix).SVD(u, w, v);
    const Eigen::VectorXd values = Eigen::Map<Eigen::VectorXf>(w.data(), w.size()).cast<double>();
    Errors ours;
    ours.add(wide(u) * values.asDiagonal() * wide(v).transpose() - exact, values.maxCoeff(), wide(u));
    ours.print("SVD");
    for (const auto method : {ZbBench::SvdMethod::QrSteps, ZbBench::SvdMethod::DivideAndConquer}) {
        Eigen::MatrixXf columns = matrix;
        std::vector<float> a(columns.data(), columns.data() + columns.size()), s, left, right;
        ZbBench::svd(method, m, n, a, s, left, right);
        const Eigen::MatrixXd theirU = Eigen::Map<Eigen::MatrixXf>(left.data(), m, n).cast<double>();
        const Eigen::MatrixXd theirV = Eigen::Map<Eigen::MatrixXf>(right.data(), n, n).cast<double>();
        const Eigen::VectorXd theirW = Eigen::Map<Eigen::VectorXf>(s.data(), n).cast<double>();
        Errors theirs;
        theirs.add(theirU * theirW.asDiagonal() * theirV - exact, theirW.maxCoeff(), theirU);
        theirs.print(method == ZbBench::SvdMethod::QrSteps ? "sgesvd" : "sgesdd");
    }
}

// ---- distributions

void distributions()
{
    double beta = 0, student = 0, away = 0;
    for (int round = 0; round < 100000; ++round) {
        const auto a = float(uniform(0.1, 50)), b = float(uniform(0.1, 50)), x = float(uniform(0, 1));
        beta = std::fmax(beta, std::fabs(double(ZbStatistics::betai(a, b, x)) -
                                         boost::math::ibeta(double(a), double(b), double(x))));
        const int nu = int(uniform(1, 200));
        const auto t = float(uniform(-8, 8));
        const double expected = 1 - 2 * boost::math::cdf(boost::math::students_t(nu), -std::fabs(double(t)));
        const double difference =
            std::fabs(double(ZbStatistics::integratedStudentDistribution(t, nu)) - expected);
        // Near 0 the argument of the beta function, nu / (nu + t^2), is 1 to the precision of a float.
        double& largest = std::fabs(t) < 0.5f ? student : away;
        largest = std::fmax(largest, difference);
    }
    std::printf(
        "largest difference from Boost.Math in double: betai %.2g, Student's t %.2g, %.2g for |t| < 0.5\n",
        beta, away, student);
}

}  // namespace

int main()
{
    ZbBench::useOneThread();
    eigenvalues("symmetric 3 x 3, random eigenvalues", Spectrum::Random);
    eigenvalues("symmetric 3 x 3, nearly equal eigenvalues", Spectrum::NearlyEqual);
    eigenvalues("symmetric 3 x 3, eigenvalues 1e12, 1, 1e-12", Spectrum::Graded);
    for (const int n : {100, 500})
        solutions(n, false);
    solutions(100, true);
    singularValues(200, 200);
    singularValues(500, 100);
    distributions();
}
