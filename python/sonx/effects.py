"""The effects: one class each, made from the library's catalogue when this is imported."""

from ._classes import make_class
from ._effect import Effect
from ._library import lib

_classes = [make_class(lib.sonx_effect_at(k).contents) for k in range(lib.sonx_effect_count())]
#: The classes of what effects have several of.
sections = {group.section.__name__: group.section
            for kind in _classes for group in kind.groups.values()}
globals().update({kind.__name__: kind for kind in _classes}, **sections)

#: Every class by its effect's id.
by_id: dict[str, type[Effect]] = {kind.id: kind for kind in _classes}

__all__ = [*sections, *(kind.__name__ for kind in _classes)]
