"""What the calls raise."""
from __future__ import annotations

from typing import Optional, Sequence


class VecTabError(Exception):
    """A call of the library failed.

    call      name of the call
    status    what it gave: 2, an error number of the system, or a key of -1 or 0; None where it gives nothing
    messages  the error entries of the trace log that the call caused, oldest first
    reason    what stands for them when the call logs nothing
    """

    def __init__(self, call: str, status: Optional[int], messages: Sequence[str] = (), reason: str = "failed"):
        super().__init__(call, status, messages, reason)
        self.call = call
        self.status = status
        self.messages = tuple(messages)
        self.reason = reason

    def __str__(self):
        text = "; ".join(self.messages) or self.reason
        return text if text.startswith(f"{self.call}:") else f"{self.call}: {text}"
