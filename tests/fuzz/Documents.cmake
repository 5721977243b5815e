kelvo_fuzz_target(kelvo_property_fuzz PropertyFuzz.cpp corpus/property kelvo)
kelvo_fuzz_target(kelvo_document_fuzz DocumentFuzz.cpp corpus/document kelvo)
