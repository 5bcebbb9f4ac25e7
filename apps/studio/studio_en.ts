<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name>larkmoor::ExportDialog</name>
    <message numerus="yes">
        <source>%n bit(s)</source>
        <translation>
            <numerusform>%n bit</numerusform>
            <numerusform>%n bits</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>larkmoor::ExportPanel</name>
    <message numerus="yes">
        <source>%1 %, %2 of %n frame(s)  %3</source>
        <translation>
            <numerusform>%1 %, %2 of %n frame  %3</numerusform>
            <numerusform>%1 %, %2 of %n frames  %3</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n frame(s)</source>
        <translation>
            <numerusform>%n frame</numerusform>
            <numerusform>%n frames</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n chunk(s) are done, %2 running, %3 failed</source>
        <translation>
            <numerusform>%1 of %n chunk is done, %2 running, %3 failed</numerusform>
            <numerusform>%1 of %n chunks are done, %2 running, %3 failed</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>larkmoor::MainWindow</name>
    <message numerus="yes">
        <source>A clip is shorter than the transition, which is cut to %n frame(s).</source>
        <translation>
            <numerusform>A clip is shorter than the transition, which is cut to %n frame.</numerusform>
            <numerusform>A clip is shorter than the transition, which is cut to %n frames.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Two of %n file(s) are open.</source>
        <translation>
            <numerusform>Two of %n file are open.</numerusform>
            <numerusform>Two of %n files are open.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>larkmoor::SourceFacts</name>
    <message numerus="yes">
        <source>%L1 s (%n frame(s))</source>
        <translation>
            <numerusform>%L1 s (%n frame)</numerusform>
            <numerusform>%L1 s (%n frames)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n bit(s) (%1)</source>
        <translation>
            <numerusform>%n bit (%1)</numerusform>
            <numerusform>%n bits (%1)</numerusform>
        </translation>
    </message>
</context>
</TS>
