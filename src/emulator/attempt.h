#pragma once

namespace tavu {

/// A step that may fail alone: what it raises ends here.
template <typename Step>
void attempt(Step step)
{
    try {
        step();
    } catch (...) {
    }
}

} // namespace tavu
