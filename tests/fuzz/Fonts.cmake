# The fonts to start from: "A" is a square with a hole, "B" a shape with curves that crosses itself, "C" both, one of them
# moved and scaled, and " " is empty. "A" and "B" are kerned, in pairs.ttf by a "GPOS" table.
if(TARGET kelvo_assets)
    find_package(Freetype REQUIRED)
    kelvo_fuzz_target(kelvo_font_fuzz FontFuzz.cpp corpus/font Kelvo::kelvo_assets kelvoGLES20)
    kelvo_fuzz_target(kelvo_outline_fuzz OutlineFuzz.cpp corpus/outline Kelvo::kelvo_assets Freetype::Freetype)
endif()
