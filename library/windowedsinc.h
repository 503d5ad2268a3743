#pragma once

// What low-pass filters and delays are made of. Any thread.

namespace design {

/// sin(pi x) / (pi x), and 1 at 0.
double Sinc(double x);

/// Kaiser's window (1974): 1 at 0, and 0 from -1 and 1 on outwards.
class KaiserWindow {
public:
    /// Of a greater `beta` the main lobe is wider and the side lobes are lower: 7 keeps them below -70 dB, 11
    /// below -110 dB.
    explicit KaiserWindow(double beta);

    double operator()(double x) const;

private:
    double beta, scale;
};

}  // namespace design
