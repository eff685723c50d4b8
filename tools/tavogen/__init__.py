"""tavogen: class schemas in, C++ and reference pages out. docs/schemas.md describes the schemas."""
