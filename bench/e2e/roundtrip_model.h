// The round trip's models, built directly in rose-host's object model.
#pragma once

#include <memory>

#include "hosts/rose/model/model.h"
#include "roundtrip_harness.h"

namespace roundtrip {

// An empty model with the add-in's property defaults declared and a class diagram open.
std::shared_ptr<rosehost::Model> EmptyModel();

// The model of `shape`: classes "Shop::C0000" ... with the add-in's property defaults declared.
std::shared_ptr<rosehost::Model> GeneratedModel(const Shape& shape);

}  // namespace roundtrip
