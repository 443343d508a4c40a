#pragma once

namespace tavu {

/// Does a step whose failure doesn't matter to the rest.
template <typename Step>
void attempt(Step step)
{
    try {
        step();
    } catch (...) {
    }
}

} // namespace tavu
