// A small model built by hand, the same for every test that needs one:
//
//   Logical View            class Person (attribute name: %Library.String, operation Greet)
//   Logical View::Shop      class Address
//   Logical View::Shop::Order  class Line (superclass link to Person)
//   Logical View::Tavro System Classes  class %Library.String
//   association Person -> Logical View::Shop::Address (role "home" at Address)
//   class diagram "Main" of the top category shows Person (100, 200) and Address (300, 400),
//   is the current diagram, and has Person selected.
#pragma once

#include <memory>

#include "automation/automation.h"
#include "hosts/rose/model/objects.h"

struct Sample {
    std::shared_ptr<rosehost::Model> model;
    std::shared_ptr<rosehost::Host> host;
    automation::ObjectRef app;
};

Sample MakeSample();

// Navigation through the objects themselves, by dispatch id.
automation::ObjectRef ModelOf(const Sample& s);
automation::ObjectRef ClassAtPath(const Sample& s, const char* path);
automation::ObjectRef CategoryAtPath(const Sample& s, const char* path);
automation::ObjectRef Item(const automation::ObjectRef& collection, std::int16_t index);
std::int16_t CountOf(const automation::ObjectRef& collection);
