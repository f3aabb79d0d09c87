#pragma once

#include "BenchCameras.h"

// What can be measured. For each subject: a check that the library and its peer do the same, which
// throws std::runtime_error when they do not, and the registration of its measurements.

namespace rectiline::bench {

void checkMaps(const Size& size);
void addMaps(const Size& size);

void checkRemap(const Size& size);
void addRemap(const Size& size);

void checkPlans(const Size& size);
void addPlans(const Size& size);

void checkApply(const Size& size);
void addApply(const Size& size);

void addSetup();

void checkRectify();
void addRectify();

void addPool();

void addDocuments();

}  // namespace rectiline::bench
