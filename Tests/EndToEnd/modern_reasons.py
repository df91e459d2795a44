"""Why the modern reading and another tool may differ without either being wrong."""

CJK = {"ja", "ko", "zh-cn", "zh-hk", "zh-mo", "zh-sg", "zh-tw"}


def excluded_cjk(face, what, found, expected):
    return what == "fc-scan" and found and expected in CJK


# Text of a reason; whether a difference is of its kind, by face, property, found and expected.
REASONS = [
    ("fc-scan leaves out East Asian languages that the code page bits of 'OS/2' do not name",
     excluded_cjk),
]


def reason(face, what, found, expected):
    """The reason for a difference, None without one."""
    return next((text for text, applies in REASONS if applies(face, what, found, expected)), None)
