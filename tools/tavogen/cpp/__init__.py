"""The C++ side: one module per output, over shared spelling of types and signatures."""
