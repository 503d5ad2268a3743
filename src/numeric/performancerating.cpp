#include "numeric/performancerating.h"

#include <chrono>
#include <cstdint>
#include <thread>

#include "numeric/genericmatrix.h"

namespace hcml::performance {
namespace {

using Clock = std::chrono::steady_clock;
using Matrix = GenericMatrix<float, 1>;

constexpr std::chrono::milliseconds duration(1000);
constexpr std::uint32_t edge = 50;
constexpr double roundsOfOne = 2160;

void Multiply(const Matrix& a, const Matrix& b, Matrix& product) {
    for (std::uint32_t row = 0; row < a.rows; ++row)
        for (std::uint32_t column = 0; column < b.columns; ++column) {
            float sum = 0;
            for (std::uint32_t k = 0; k < a.columns; ++k)
                sum += a(row, k) * b(k, column);
            product(row, column) = sum;
        }
}

// Allocation and filling are part of what is measured.
void Pass() {
    Matrix matrix(edge, edge);
    matrix.fill(2);
    Matrix product(edge, edge);
    Multiply(matrix, matrix, product);
    matrix = product;
    // The product counts as used, so the compiler can't leave it out.
    asm volatile("" : : "g"(matrix.data) : "memory");
}

}  // namespace

// Not at a real-time level, where a second of it would cut a hole into other programs' sound.
TestPowerThread::TestPowerThread() : Thread("PerformanceTest", Priority::Normal) {}

TestPowerThread::~TestPowerThread() {
    Stop();
}

// Where the priority is refused the machine counts for what it has left.
void TestPowerThread::Run() {
    static_cast<void>(TakePriority(Priority::Highest));
    const Clock::time_point start = Clock::now();
    double count = 0;
    while (Clock::now() - start < duration) {
        Pass();
        ++count;
    }
    rounds = count;
}

double MeasurePower() {
    TestPowerThread test;
    test.Start();
    std::this_thread::sleep_for(duration);
    test.Stop();
    return test.rounds / roundsOfOne;
}

}  // namespace hcml::performance
