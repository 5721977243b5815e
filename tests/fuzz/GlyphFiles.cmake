if(TARGET kelvo_assets)
    kelvo_fuzz_target(kelvo_bmfont_fuzz BMFontFuzz.cpp corpus/bmfont Kelvo::kelvo_assets)
    kelvo_fuzz_target(kelvo_nine_patch_fuzz NinePatchFuzz.cpp corpus/nine-patch Kelvo::kelvo_assets ZLIB::ZLIB)
endif()
