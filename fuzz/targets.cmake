# The fuzz targets, one per parser: corvanthelis_fuzzer(<name> <corpus folder> LINK <targets>...) takes
# <name>.cpp here. The includer says what becomes of it: a fuzzer, or a replay of its corpus.
corvanthelis_fuzzer(json_reader_fuzz corpus/json LINK state)
corvanthelis_fuzzer(store_fuzz corpus/store LINK state)
corvanthelis_fuzzer(chunk_fuzz corpus/chunk LINK core)
corvanthelis_fuzzer(preset_fuzz corpus/preset LINK core)
corvanthelis_fuzzer(band_fuzz corpus/band LINK core)
corvanthelis_fuzzer(controls_fuzz corpus/controls LINK aax)
