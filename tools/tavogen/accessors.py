"""The names of all generated accessors in one list, for review: a change of the rules for names shows here."""

from __future__ import annotations

from .cpp.members import feature_signatures
from .names import names_of
from .schema import Class


def listing(classes: list[Class]) -> str:
    lines = []
    for cls in classes:
        lines.append(cls.qualified_name)
        for feature in cls.features:
            facade, impl = (", ".join(signature.name for signature in signatures) or "-"
                            for signatures in feature_signatures(feature))
            hook = f"; {names_of(feature).hook}" if feature.hook else ""
            lines.append(f"  {feature.name}: {facade}; {impl}{hook}")
    return "\n".join(lines) + "\n"
