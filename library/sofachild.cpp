#include "library/sofachild.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "library/sofareader.h"
#include "platform/limitedchild.h"
#include "slib/exception.h"

namespace design {
namespace {

using Eigen::Index;
using platform::ChildOutcome;

class Packer {
public:
    void Put(std::uint64_t number) { PutBytes(&number, sizeof number); }
    void Put(double number) { PutBytes(&number, sizeof number); }
    void Put(const std::string& text) {
        Put(std::uint64_t{text.size()});
        bytes += text;
    }
    template <typename Matrix>
    void PutMatrix(const Matrix& matrix) {
        Put(static_cast<std::uint64_t>(matrix.rows()));
        Put(static_cast<std::uint64_t>(matrix.cols()));
        PutBytes(matrix.data(), static_cast<std::size_t>(matrix.size()) * sizeof(typename Matrix::Scalar));
    }

    std::string bytes;

private:
    void PutBytes(const void* from, std::size_t count) {
        bytes.append(static_cast<const char*>(from), count);
    }
};

// Believes nothing: the child read what a stranger wrote.
class Unpacker {
public:
    explicit Unpacker(const std::string& bytes) : bytes(bytes) {}

    template <typename Number>
    Number Get() {
        Number number{};
        GetBytes(&number, sizeof number);
        return number;
    }
    std::string GetText() {
        std::string text(Count(1), '\0');
        GetBytes(text.data(), text.size());
        return text;
    }
    template <typename Matrix>
    Matrix GetMatrix() {
        const std::size_t size = sizeof(typename Matrix::Scalar);
        const std::size_t rows = Count(size), columns = Count(size);
        if (rows != 0 && columns > Left() / size / rows) Fail();
        Matrix matrix(static_cast<Index>(rows), static_cast<Index>(columns));
        GetBytes(matrix.data(), rows * columns * size);
        return matrix;
    }

    [[noreturn]] static void Fail() { throw slib::BadDataException("What was read of a head is broken."); }

private:
    const std::string& bytes;
    std::size_t at = 0;

    std::size_t Left() const { return bytes.size() - at; }

    // Of elements of that size, which may be there.
    std::size_t Count(std::size_t size) {
        const auto count = Get<std::uint64_t>();
        if (count > Left() / size) Fail();
        return static_cast<std::size_t>(count);
    }

    void GetBytes(void* to, std::size_t count) {
        if (count > Left()) Fail();
        if (count > 0) std::memcpy(to, bytes.data() + at, count);
        at += count;
    }
};

// Responses are those of a file of floats.
std::string Pack(const HeadImpulses& head) {
    Packer packer;
    packer.Put(head.name);
    packer.Put(head.credit);
    packer.Put(head.sampleRate);
    packer.Put(std::uint64_t{head.directions.size()});
    for (const Direction& direction : head.directions)
        for (const double coordinate : direction)
            packer.Put(coordinate);
    for (const std::size_t ear : {0u, 1u}) {
        packer.PutMatrix(Eigen::MatrixXf(head.ears[ear].cast<float>()));
        packer.PutMatrix(head.delays[ear]);
    }
    return std::move(packer.bytes);
}

HeadImpulses Unpack(const std::string& bytes) {
    Unpacker unpacker(bytes);
    HeadImpulses head;
    head.name = unpacker.GetText();
    head.credit = unpacker.GetText();
    head.sampleRate = unpacker.Get<double>();
    const auto count = unpacker.Get<std::uint64_t>();
    if (count > bytes.size()) Unpacker::Fail();
    head.directions.resize(static_cast<std::size_t>(count));
    for (Direction& direction : head.directions)
        for (double& coordinate : direction)
            coordinate = unpacker.Get<double>();
    for (const std::size_t ear : {0u, 1u}) {
        head.ears[ear] = unpacker.GetMatrix<Eigen::MatrixXf>().cast<double>();
        head.delays[ear] = unpacker.GetMatrix<Eigen::MatrixXd>();
        const auto directions = static_cast<Index>(count);
        if (head.ears[ear].cols() != directions || head.delays[ear].size() != directions) Unpacker::Fail();
    }
    return head;
}

}  // namespace

HeadImpulses ReadSofaInChild(const std::string& path) {
    const ChildOutcome outcome = platform::RunInLimitedChild([&] { return Pack(ReadSofa(path)); });
    if (outcome.end == ChildOutcome::End::Reply) return Unpack(outcome.text);
    if (outcome.end == ChildOutcome::End::Refusal) throw slib::BadDataException(outcome.text);
    throw slib::BadDataException("The head file \"" + path +
                                 "\" can't be used: the program that read it failed (" + outcome.text +
                                 "), so it is damaged, or made to do harm.");
}

}  // namespace design
