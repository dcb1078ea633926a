#include <Eigen/Dense>
#include <Eigen/Geometry>
#include <glm/glm.hpp>
#include <glm/gtc/quaternion.hpp>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

// The counterparts of ZbMat4Bench in Eigen and glm: run both with the same flags.

namespace
{

constexpr size_t valueCount = 1024;

template <typename Value>
std::vector<Value, Eigen::aligned_allocator<Value>> randomValues()
{
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> element(-1, 1);
    std::vector<Value, Eigen::aligned_allocator<Value>> values(valueCount);
    for (Value& value : values) {
        float* numbers = reinterpret_cast<float*>(&value);
        for (size_t i = 0; i < sizeof(Value) / sizeof(float); ++i)
            numbers[i] = element(generator);
        if constexpr (std::is_same_v<Value, Eigen::Quaternionf>)
            value.normalize();
        else if constexpr (std::is_same_v<Value, glm::quat>)
            value = glm::normalize(value);
    }
    return values;
}

template <typename Value, auto function>
void each(benchmark::State& state)
{
    const auto values = randomValues<Value>();
    using Result = decltype(function(values[0], values[0]));
    std::vector<Result, Eigen::aligned_allocator<Result>> results(values.size());
    for (auto _ : state) {
        for (size_t i = 0; i + 1 < values.size(); ++i)
            results[i] = function(values[i], values[i + 1]);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * int64_t(values.size() - 1));
}

using Eigen::Matrix4f;
using Eigen::Quaternionf;
using Eigen::Vector3f;

BENCHMARK(each<Matrix4f, [](const Matrix4f& a, const Matrix4f& b) -> Matrix4f { return a * b; }>)
    ->Name("Eigen product");
BENCHMARK(each<Matrix4f, [](const Matrix4f& a, const Matrix4f&) -> Matrix4f { return a.inverse(); }>)
    ->Name("Eigen inverse");
BENCHMARK(each<Quaternionf, [](const Quaternionf& a, const Quaternionf& b) { return Quaternionf(a * b); }>)
    ->Name("Eigen quaternion product");
BENCHMARK(each<Quaternionf, [](const Quaternionf& a, const Quaternionf& b) { return a.slerp(0.3f, b); }>)
    ->Name("Eigen slerp");
BENCHMARK(each<Quaternionf, [](const Quaternionf& a, const Quaternionf&) { return a.toRotationMatrix(); }>)
    ->Name("Eigen to matrix");
BENCHMARK(each<Quaternionf, [](const Quaternionf& a, const Quaternionf& b) -> Vector3f {
    return a * Vector3f(b.vec());
}>)->Name("Eigen rotate vector");

BENCHMARK(each<glm::mat4, [](const glm::mat4& a, const glm::mat4& b) { return a * b; }>)->Name("glm product");
BENCHMARK(each<glm::mat4, [](const glm::mat4& a, const glm::mat4&) { return glm::inverse(a); }>)
    ->Name("glm inverse");
BENCHMARK(each<glm::quat, [](const glm::quat& a, const glm::quat& b) { return a * b; }>)
    ->Name("glm quaternion product");
BENCHMARK(each<glm::quat, [](const glm::quat& a, const glm::quat& b) { return glm::slerp(a, b, 0.3f); }>)
    ->Name("glm slerp");
BENCHMARK(each<glm::quat, [](const glm::quat& a, const glm::quat&) { return glm::mat3_cast(a); }>)
    ->Name("glm to matrix");
BENCHMARK(each<glm::quat, [](const glm::quat& a, const glm::quat& b) {
    return a * glm::vec3(b.x, b.y, b.z);
}>)->Name("glm rotate vector");

void points(benchmark::State& state)
{
    const Eigen::Index count = state.range(0);
    Eigen::Matrix3Xf source = Eigen::Matrix3Xf::Random(3, count), target(3, count);
    const Matrix4f m = Matrix4f::Random();
    for (auto _ : state) {
        target.noalias() = (m * source.colwise().homogeneous()).colwise().hnormalized();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(points)->Name("Eigen points")->Arg(1000)->Arg(1000000);

// The counterparts of ZbEigenBench and ZbDMatrixBench.

template <typename Solve>
void eigen3(benchmark::State& state, bool isSymmetric, Solve solve)
{
    std::vector<Eigen::Matrix3f> matrices(1024);
    for (Eigen::Matrix3f& m : matrices) {
        m.setRandom();
        if (isSymmetric)
            m += Eigen::Matrix3f(m.transpose());
    }
    for (auto _ : state) {
        for (const Eigen::Matrix3f& m : matrices)
            solve(m);
    }
    state.SetItemsProcessed(state.iterations() * 1024);
}

void symmetricIterative(benchmark::State& state)
{
    eigen3(state, true, [](const Eigen::Matrix3f& m) {
        Eigen::SelfAdjointEigenSolver<Eigen::Matrix3f> solver(m);
        benchmark::DoNotOptimize(solver.eigenvectors().data()[0]);
    });
}
BENCHMARK(symmetricIterative)->Name("Eigen SelfAdjointEigenSolver");

void symmetricDirect(benchmark::State& state)
{
    eigen3(state, true, [](const Eigen::Matrix3f& m) {
        Eigen::SelfAdjointEigenSolver<Eigen::Matrix3f> solver;
        solver.computeDirect(m);
        benchmark::DoNotOptimize(solver.eigenvectors().data()[0]);
    });
}
BENCHMARK(symmetricDirect)->Name("Eigen computeDirect");

void general(benchmark::State& state)
{
    eigen3(state, false, [](const Eigen::Matrix3f& m) {
        Eigen::EigenSolver<Eigen::Matrix3f> solver(m);
        benchmark::DoNotOptimize(solver.eigenvalues().data()[0]);
    });
}
BENCHMARK(general)->Name("Eigen EigenSolver");

void solveDense(benchmark::State& state)
{
    Eigen::setNbThreads(1);
    const Eigen::MatrixXf m = Eigen::MatrixXf::Random(state.range(0), state.range(0));
    const Eigen::VectorXf b = Eigen::VectorXf::Random(state.range(0));
    for (auto _ : state) {
        const Eigen::VectorXf x = m.partialPivLu().solve(b);
        benchmark::DoNotOptimize(x.data()[0]);
    }
}
BENCHMARK(solveDense)
    ->Name("Eigen PartialPivLU")
    ->Arg(100)
    ->Arg(500)
    ->Arg(1000)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
