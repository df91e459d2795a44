#include "FoldingFormat.h"

void FoldingFormat::write(const Result& result) {
    if (held_ && held_->join(result)) {
        return;
    }
    release();
    held_ = result.startFold();
    if (!held_) {
        inner_->write(result);
    }
}

void FoldingFormat::end() {
    release();
    inner_->end();
}

void FoldingFormat::release() {
    if (held_) {
        inner_->write(*held_);
        held_.reset();
    }
}
