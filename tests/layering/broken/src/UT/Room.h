#pragma once
// Private: rooms of UT alone.
