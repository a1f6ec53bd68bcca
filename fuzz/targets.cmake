# The fuzz targets, one per parser: corvanthelis_fuzzer(<name> <corpus folder> LINK <targets>...) takes
# <name>.cpp here. The includer says what becomes of it: a fuzzer, or a replay of its corpus.
corvanthelis_fuzzer(json_reader_fuzz corpus/json LINK state)
corvanthelis_fuzzer(store_fuzz corpus/store LINK state)
