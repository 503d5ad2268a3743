#include "numeric/dft.h"

#include <fftw3.h>

#include <algorithm>
#include <bit>
#include <type_traits>

#include "slib/exception.h"
#include "slib/mutex.h"
#include "slib/nodestroy.h"

namespace hcml {
namespace {

// What the transform library has for one precision.
template <typename T>
constexpr auto Of(auto ofFloat, auto ofDouble) {
    if constexpr (std::is_same_v<T, float>)
        return ofFloat;
    else
        return ofDouble;
}

template <typename T>
struct Library {
    static constexpr auto Malloc = Of<T>(fftwf_malloc, fftw_malloc);
    static constexpr auto Free = Of<T>(fftwf_free, fftw_free);
    static constexpr auto Execute = Of<T>(fftwf_execute, fftw_execute);
    static constexpr auto DestroyPlan = Of<T>(fftwf_destroy_plan, fftw_destroy_plan);
    static constexpr auto CleanUp = Of<T>(fftwf_cleanup, fftw_cleanup);
    static constexpr auto PlanForward = Of<T>(fftwf_plan_dft_r2c_1d, fftw_plan_dft_r2c_1d);
    static constexpr auto PlanInverse = Of<T>(fftwf_plan_dft_c2r_1d, fftw_plan_dft_c2r_1d);
    using Complex = std::conditional_t<std::is_same_v<T, float>, fftwf_complex, fftw_complex>;
};

constexpr std::uint32_t greatestSize = 1u << 30;  // what the planner's int can tell

// Planning isn't safe from two threads at once. There is one lock for each precision; it outlives every other
// object of the process, for one of those may own a transform.
template <typename T>
slib::Mutex& PlanningLock() {
    static slib::NoDestroy<slib::Mutex> mutex;
    return *mutex;
}

template <typename T>
void ReleasePlans() {
    const slib::Lock lock(PlanningLock<T>());
    Library<T>::CleanUp();
}

template <typename Value>
Value* Checked(void* block) {
    if (block == nullptr) throw slib::OutOfMemoryException();
    return static_cast<Value*>(block);
}

}  // namespace

template <typename T>
DFT<T>::~DFT() {
    if (size == 0) return;
    const slib::Lock lock(PlanningLock<T>());
    Free();
}

template <typename T>
void DFT<T>::setSize(std::uint32_t n) {
    if (n == 0) throw slib::BadParameterException("A DFT size may not be zero.");
    if (n == size) return;
    if (!std::has_single_bit(n)) throw slib::BadParameterException("DFT size must be a power of two.");
    const slib::Lock lock(PlanningLock<T>());
    Free();
    try {
        Allocate(n);
    } catch (...) {
        Free();
        throw;
    }
}

// The planning lock is held.
template <typename T>
void DFT<T>::Allocate(std::uint32_t n) {
    using Complex = typename Library<T>::Complex;
    if (n > greatestSize) throw slib::IntegrityFailureException("Failed to initialise FFTW.");
    const int length = static_cast<int>(n);
    timeBuffer = Checked<T>(Library<T>::Malloc(sizeof(T) * n));
    frequencyBuffer = Checked<std::complex<T>>(Library<T>::Malloc(sizeof(std::complex<T>) * (n / 2 + 1)));
    auto* bins = reinterpret_cast<Complex*>(frequencyBuffer);
    forwardPlan = Library<T>::PlanForward(length, timeBuffer, bins, FFTW_ESTIMATE);
    inversePlan = Library<T>::PlanInverse(length, bins, timeBuffer, FFTW_ESTIMATE);
    if (forwardPlan == nullptr || inversePlan == nullptr)
        throw slib::IntegrityFailureException("Failed to initialise FFTW.");
    size = n;
    inverseScale = T{1} / static_cast<T>(n);
}

// The planning lock is held.
template <typename T>
void DFT<T>::Free() {
    if (forwardPlan != nullptr) Library<T>::DestroyPlan(forwardPlan);
    if (inversePlan != nullptr) Library<T>::DestroyPlan(inversePlan);
    Library<T>::Free(timeBuffer);
    Library<T>::Free(frequencyBuffer);
    size = 0;
    timeBuffer = nullptr;
    frequencyBuffer = nullptr;
    forwardPlan = inversePlan = nullptr;
    inverseScale = 0;
}

template <typename T>
void DFT<T>::ExecuteForward() {
    Library<T>::Execute(forwardPlan);
}

template <typename T>
void DFT<T>::ExecuteInverse() {
    Library<T>::Execute(inversePlan);
}

template <typename T>
void DFT<T>::forward(const T* signal, std::complex<T>* spectrum) {
    std::copy_n(signal, size, timeBuffer);
    ExecuteForward();
    std::copy_n(frequencyBuffer, size / 2 + 1, spectrum);
}

template <typename T>
void DFT<T>::inverse(const GenericVector<std::complex<T>, 1>& spectrum, GenericVector<T, 1>& signal) {
    if (size == 0 || spectrum.size != size / 2 + 1)
        throw slib::BadParameterException("The spectrum doesn't have the number of bins of the DFT.");
    signal.resize(size);
    std::copy_n(spectrum.data, spectrum.size, frequencyBuffer);
    ExecuteInverse();
    std::transform(timeBuffer, timeBuffer + size, signal.data, [this](T x) { return x * inverseScale; });
}

template <typename T>
void DFT<T>::forwardSplit(const T* source, T* real, T* imaginary) {
    std::copy_n(source, size, timeBuffer);
    ExecuteForward();
    for (std::uint32_t k = 0; k <= size / 2; ++k) {
        real[k] = frequencyBuffer[k].real();
        imaginary[k] = frequencyBuffer[k].imag();
    }
}

template <typename T>
void DFT<T>::inverseSplit(const T* real, const T* imaginary, T* destination) {
    for (std::uint32_t k = 0; k <= size / 2; ++k)
        frequencyBuffer[k] = {real[k], imaginary[k]};
    ExecuteInverse();
    std::transform(timeBuffer, timeBuffer + size, destination, [this](T x) { return x * inverseScale; });
}

template class DFT<float>;
template class DFT<double>;

void ReleasePlanningMemory() {
    ReleasePlans<float>();
    ReleasePlans<double>();
}

}  // namespace hcml
