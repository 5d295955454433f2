"""The side of benchmarks/compare that is not this library: inputs, other programs, the run itself and its table."""
