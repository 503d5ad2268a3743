#include "library/sofareader.h"

#include <mysofa.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string_view>

#include "slib/exception.h"

namespace design {
namespace {

constexpr unsigned fewestDirections = 36;
constexpr unsigned mostTaps = 65536;

using Sofa = std::unique_ptr<MYSOFA_HRTF, decltype(&mysofa_free)>;

class Reader {
public:
    explicit Reader(const std::string& path) : path(path), sofa(nullptr, mysofa_free) {}

    HeadImpulses Read() {
        Load();
        CheckShape();
        HeadImpulses head;
        head.name = Attribute(sofa->attributes, "ListenerShortName");
        head.credit = Credit();
        head.sampleRate = sofa->DataSamplingRate.values[0];
        head.directions = Directions();
        const bool swapped = FirstReceiverIsRight();
        for (int ear : {LeftEar, RightEar}) {
            const unsigned receiver = swapped ? 1 - static_cast<unsigned>(ear) : static_cast<unsigned>(ear);
            ReadReceiver(receiver, head.ears[static_cast<std::size_t>(ear)],
                         head.delays[static_cast<std::size_t>(ear)], head.sampleRate);
        }
        return head;
    }

private:
    const std::string& path;
    Sofa sofa;

    [[noreturn]] void Fail(std::string_view fault) const {
        std::string text("The head file \"");
        throw slib::BadDataException(text.append(path).append("\" ").append(fault).append("."));
    }

    void Require(bool condition, std::string_view fault) const {
        if (!condition) Fail(fault);
    }

    void Load() {
        int error = MYSOFA_OK;
        sofa.reset(mysofa_load(path.c_str(), &error));
        if (sofa && error == MYSOFA_OK) return;
        if (error == MYSOFA_READ_ERROR) Fail("can't be read");
        if (error == MYSOFA_NO_MEMORY) Fail("needs more memory than there is");
        Fail(std::string("isn't a SOFA file that can be understood (fault ") + std::to_string(error) + ")");
    }

    static std::string Attribute(MYSOFA_ATTRIBUTE* attributes, const char* name) {
        for (const MYSOFA_ATTRIBUTE* entry = attributes; entry; entry = entry->next) {
            if (entry->name && entry->value && std::strcmp(entry->name, name) == 0) return entry->value;
        }
        return {};
    }

    // What the file tells of its origin. The head that Debian ships tells its database only; its licence asks
    // that its authors are cited.
    std::string Credit() const {
        const auto text = [&](const char* name) { return Attribute(sofa->attributes, name); };
        if (text("DatabaseName") == "MIT" && text("ListenerShortName").starts_with("KEMAR"))
            return "Measured by Bill Gardner and Keith Martin (1994): HRTF Measurements of a KEMAR "
                   "Dummy-Head "
                   "Microphone, MIT Media Lab; copyright 1994 by the MIT Media Laboratory.";
        std::string origin;
        for (const char* name :
             {"DatabaseName", "ListenerShortName", "Organization", "AuthorContact", "References", "License"})
            if (const std::string value = text(name); !value.empty())
                origin += (origin.empty() ? "Measurement: " : "; ") + value;
        return origin.empty() ? origin : origin + ".";
    }

    // All `count` values are there and finite.
    void RequireValues(const MYSOFA_ARRAY& array, std::size_t count, std::string_view fault) const {
        Require(array.values && array.elements >= count, fault);
        Require(std::all_of(array.values, array.values + count, [](float x) { return std::isfinite(x); }),
                "holds values that aren't numbers");
    }

    void CheckShape() const {
        const std::size_t directions = sofa->M;
        Require(sofa->R == 2, "doesn't hold responses of two ears");
        Require(directions >= fewestDirections, "holds fewer than 36 directions");
        Require(sofa->N > 0 && sofa->N <= mostTaps, "holds responses of no use: none, or far too long");
        RequireValues(sofa->DataIR, directions * 2 * sofa->N, "holds too few responses");
        RequireValues(sofa->SourcePosition, directions * 3, "doesn't tell the direction of every response");
        RequireValues(sofa->DataSamplingRate, 1, "doesn't tell its sample rate");
        const double rate = sofa->DataSamplingRate.values[0];
        Require(rate >= 8000 && rate <= 768000, "has a sample rate that isn't one of sound");
        if (sofa->DataDelay.elements > 0) RequireValues(sofa->DataDelay, 2, "has broken delays");
    }

    std::vector<Direction> Directions() const {
        const std::string type = Attribute(sofa->SourcePosition.attributes, "Type");
        if (type == "spherical")
            mysofa_tocartesian(sofa.get());
        else
            Require(type == "cartesian", "has positions in an unknown system of coordinates");
        std::vector<Direction> directions;
        for (unsigned i = 0; i < sofa->M; ++i) {
            const float* position = sofa->SourcePosition.values + std::size_t{3} * i;
            const Direction direction = Eigen::Map<const Eigen::Vector3f>(position).cast<double>();
            Require(direction.norm() > 1e-3, "has a source inside the head");
            directions.push_back(direction.normalized());
        }
        return directions;
    }

    // After Directions, which made all positions cartesian.
    bool FirstReceiverIsRight() const {
        const MYSOFA_ARRAY& receivers = sofa->ReceiverPosition;
        return receivers.values && receivers.elements >= 6 && receivers.values[1] < receivers.values[4];
    }

    // A file has one delay for all directions, or one for each; in samples.
    double DelaySamples(unsigned receiver, unsigned direction) const {
        const MYSOFA_ARRAY& delays = sofa->DataDelay;
        const std::size_t all = std::size_t{2} * sofa->M;
        if (delays.elements == 0) return 0;
        return delays.values[delays.elements >= all ? std::size_t{2} * direction + receiver : receiver];
    }

    void ReadReceiver(unsigned receiver, Eigen::MatrixXd& impulses, Eigen::VectorXd& delays,
                      double rate) const {
        impulses.resize(sofa->N, sofa->M);
        delays.resize(sofa->M);
        for (unsigned i = 0; i < sofa->M; ++i) {
            const std::size_t first = (std::size_t{2} * i + receiver) * sofa->N;
            impulses.col(i) =
                Eigen::Map<const Eigen::VectorXf>(sofa->DataIR.values + first, sofa->N).cast<double>();
            delays[i] = DelaySamples(receiver, i) / rate;
            Require(delays[i] >= 0 && delays[i] < 1, "has delays that aren't between 0 and a second");
        }
        Require(impulses.colwise().squaredNorm().minCoeff() > 0, "has a silent response");
    }
};

}  // namespace

HeadImpulses ReadSofa(const std::string& path) {
    return Reader(path).Read();
}

}  // namespace design
