#pragma once

// The last step of a decoder's design for two ears in a bin where phases are free: levels, and what differs
// between the ears, at once. Called by the designer; a record of constants, any thread.

#include <Eigen/Dense>
#include <array>

#include "library/headdata.h"

namespace design {

/// The filters of both ears in a bin, one coefficient for each channel.
using EarFilters = std::array<Eigen::VectorXcd, 2>;

class EarRefinement {
public:
    /// `waves`, directions by channels, are what plane waves from the directions of `head` leave in the
    /// channels, `mirror` the channels' factors in a field with left and right exchanged. All three outlive
    /// the object.
    EarRefinement(const HeadSpectra& head, const Eigen::MatrixXd& waves, const Eigen::VectorXd& mirror);

    /// Filters near `filters`, with the least sum over the directions of squares of: the error of an ear's
    /// level, relative to the head's; the difference of these errors between the ears, which is that of the
    /// interaural level difference; and once, the error of the ears' coherence in a diffuse field. By
    /// Gauss's and Newton's steps, damped (Levenberg 1944), from `filters` on. A symmetric head keeps the
    /// filters symmetric.
    EarFilters Refine(Eigen::Index bin, const EarFilters& filters) const;

private:
    struct Goal;
    struct State;

    Eigen::VectorXd Pack(const EarFilters& filters) const;
    EarFilters Unpack(const Eigen::VectorXd& unknowns) const;
    Goal GoalOf(Eigen::Index bin) const;
    State Evaluate(const Eigen::VectorXd& unknowns, const Goal& goal) const;
    Eigen::MatrixXd Slopes(const State& state, const Goal& goal) const;
    void AddCoherence(const State& state, Eigen::MatrixXd& slopes) const;

    const HeadSpectra& head;
    const Eigen::MatrixXd& waves;
    const Eigen::VectorXd& mirror;
    const Eigen::VectorXd shares;                 // of the errors in the sum: roots of the areas
    const std::array<Eigen::MatrixXd, 2> inputs;  // of each ear's own unknowns; directions by channels
    const std::array<Eigen::Index, 2> first;      // unknown of each ear: real parts, then imaginary ones
    const Eigen::Index unknownCount;
};

}  // namespace design
