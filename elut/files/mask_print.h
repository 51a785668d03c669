// The printed form of masks, for -print.
//
//   WINDOW Main
//   {
//   	width= 10;
//   	ON ENTER OR KEY 0xd
//   	{
//   		action= "dummy";
//   	}
//   	BUTTON Ok
//   	{
//   	}
//   }
//
// It shows what the compiler has understood and cannot always be read back:
// MODULE blocks and some events are not printed, texts are not escaped.
//
// Everything is printed line by line on the channel given; what becomes of it
// there is the channel's affair.
#pragma once

#include "elut/model/mask_objects.h"
#include "services/channels.h"

// Prints every editor. Returns 0, or RC_NO_MEMORY when there is none for the
// indent of a nested object; printing ends there.
[[nodiscard]] int MaskListPrint(Channels* channels, unsigned channel,
                                const EditorList* list);
