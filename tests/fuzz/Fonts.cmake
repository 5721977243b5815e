# MakeFonts.py wrote the fonts to start from.
if(TARGET kelvo_assets)
    find_package(Freetype REQUIRED)
    kelvo_fuzz_target(kelvo_font_fuzz FontFuzz.cpp corpus/font Kelvo::kelvo_assets kelvoGLES20)
    kelvo_fuzz_target(kelvo_outline_fuzz OutlineFuzz.cpp corpus/outline Kelvo::kelvo_assets Freetype::Freetype)
endif()
