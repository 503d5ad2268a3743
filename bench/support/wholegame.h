#pragma once

// All that the server does in a block of a game, without its thread and the two locks around the copy: the
// game's state to the renderer's, the renderer, and the decoder of the measured head in the default format
// library, into an output that takes each block at once. For the benchmark programs, from one thread.

#include <memory>
#include <vector>

#include "bench/support/gamescene.h"
#include "bench/support/takingpipe.h"
#include "goal/render/renderer.h"
#include "goal/render/renderoutput.h"
#include "orb3core/decoder/transformedpipe.h"

/// The decoder for headphones into `pipe`, which it takes over. Reads the library of the build tree when
/// first called, and points this process's store into a folder that is gone afterwards.
std::unique_ptr<orb3::TransformedPipeUPT> MakeHeadphoneDecoder(TakingPipe* pipe);

/// Gives `output` the shape of a scene's block.
void Shape(goal::RenderOutput& output);

class WholeGame {
public:
    explicit WholeGame(const GameSettings& settings);
    WholeGame(const WholeGame&) = delete;
    WholeGame& operator=(const WholeGame&) = delete;

    /// One block of the server. The game moves its sources in between, see GameScene::Move.
    void Block();

    /// The last block, as the output got it: interleaved.
    const std::vector<float>& Heard() const { return pipe->block; }

    GameScene scene;

private:
    TakingPipe* const pipe;  // the decoder's
    const std::unique_ptr<orb3::TransformedPipeUPT> decoder;
    goal::Renderer renderer;
    goal::RenderOutput output;
};
