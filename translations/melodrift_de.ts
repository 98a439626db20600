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
    <message id="DownloadItem.Waiting">
        <source>Waiting</source>
        <translation>Wartet</translation>
    </message>
    <message id="DownloadItem.Downloading">
        <source>Downloading</source>
        <translation>Wird geladen</translation>
    </message>
    <message id="DownloadItem.Converting">
        <source>Converting</source>
        <translation>Wird umgewandelt</translation>
    </message>
    <message id="DownloadItem.Copying">
        <source>Copying</source>
        <translation>Wird kopiert</translation>
    </message>
    <message id="DownloadItem.Done">
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message id="DownloadItem.Canceled">
        <source>Canceled</source>
        <translation>Abgebrochen</translation>
    </message>
    <message id="DownloadItem.Failed">
        <source>Failed</source>
        <translation>Fehlgeschlagen</translation>
    </message>
</context>
</TS>
