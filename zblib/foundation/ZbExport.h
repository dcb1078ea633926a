#pragma once

/// Marks what libzblib.so offers to others; everything else stays hidden inside it.
///
/// Polymorphic and thrown classes are marked whole, so that their type information is one object in the process
/// and casts and catches work across shared objects, those compiled with hidden visibility included.
#define ZB_API __attribute__((visibility("default")))
