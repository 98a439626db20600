<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name></name>
    <message id="quality.small">
        <source>Small</source>
        <translation>Klein</translation>
    </message>
    <message id="quality.medium">
        <source>Medium</source>
        <translation>Mittel</translation>
    </message>
    <message id="quality.large">
        <source>Large</source>
        <translation>Groß</translation>
    </message>
</context>
</TS>
